#include "kit/frames/open.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "kit/base/input_error.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::record;

constexpr char kPath[] = "/tmp/input";
constexpr char kLog[] = "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n0,5,0,1,0,0,0,0\n";

class OpenFrameSourceTest : public test_support::PrivatePathsTest {
protected:
    /** The first frame of an input. */
    static RO::RadarObjects first_of(std::string const& input) {
        RO::RadarObjects first;
        if (!Kit::open_frame_source(input)->next(first)) first.Clear();
        return first;
    }

    static RO::RadarObjects first_of_file(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        return first_of(kPath);
    }

    static std::string problem(std::string const& input) {
        try {
            Kit::open_frame_source(input);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "no problem";
    }

    static std::string problem_of_file(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        return problem(kPath);
    }
};

TEST_F(OpenFrameSourceTest, ASceneIsMadeByName) {
    EXPECT_GT(first_of("scene").targets_size(), 0);
}

TEST_F(OpenFrameSourceTest, ASeedChoosesTheScene) {
    EXPECT_EQ(first_of("scene:1").DebugString(), first_of("scene").DebugString());
    EXPECT_NE(first_of("scene:4294967295").DebugString(), first_of("scene").DebugString());
}

TEST_F(OpenFrameSourceTest, ASeedThatIsNoneIsRefused) {
    for (const std::string seed : {"", "x", "-1", "1x", " 1", "4294967296"}) {
        EXPECT_EQ(problem("scene:" + seed),
                  "scene:" + seed + ": the seed is not a whole number up to 4294967295");
    }
}

TEST_F(OpenFrameSourceTest, ARecordingIsToldByItsFirstBytes) {
    EXPECT_EQ(first_of_file(header(1) + record(frame(7))).timestamp(), 7u);
}

TEST_F(OpenFrameSourceTest, ADetectionLogIsToldByItsFirstLine) {
    EXPECT_EQ(first_of_file(kLog).timestamp(), 5u);
    EXPECT_EQ(first_of_file("timestamp_us,rcs,r,rdot,theta,options,snr,frame_index\r\n"
                            "6,0,0,0,0,0,0,0\r\n")
                  .timestamp(),
              6u);
}

TEST_F(OpenFrameSourceTest, ADirectoryOfRecordingsIsOpened) {
    std::filesystem::create_directory("/tmp/d");
    test_support::write_file("/tmp/d/radar_150525_093007_042", header(1) + record(frame(9)));
    EXPECT_EQ(first_of("/tmp/d").timestamp(), 9u);
}

TEST_F(OpenFrameSourceTest, ADetectionLogThatComesThroughAPipeIsOpened) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], kLog, sizeof(kLog) - 1), static_cast<ssize_t>(sizeof(kLog) - 1));
    close(ends[1]);
    ASSERT_GE(dup2(ends[0], STDIN_FILENO), 0);
    EXPECT_EQ(first_of("-").timestamp(), 5u);
}

TEST_F(OpenFrameSourceTest, SomethingElseIsRefused) {
    EXPECT_EQ(problem_of_file("key=value\n"),
              "/tmp/input: neither a recording nor a detection log");
    EXPECT_EQ(problem_of_file("\xDA\xBA"), "/tmp/input: neither a recording nor a detection log");
    EXPECT_EQ(problem_of_file(std::string(100000, '\0')),
              "/tmp/input: neither a recording nor a detection log");
}

TEST_F(OpenFrameSourceTest, AnEmptyFileIsRefused) {
    EXPECT_EQ(problem_of_file(""), "/tmp/input: empty");
}

TEST_F(OpenFrameSourceTest, APathThatCannotBeOpenedIsNamed) {
    ASSERT_EQ(symlink("/tmp/nowhere", "/tmp/link"), 0);
    EXPECT_EQ(problem("/tmp/none"), "/tmp/none: No such file or directory");
    EXPECT_EQ(problem("/tmp/link"), "/tmp/link: No such file or directory");
    EXPECT_EQ(problem("/dev/zero"), "/dev/zero: Is a device");
}

}  // namespace
