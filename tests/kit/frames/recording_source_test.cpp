#include "kit/frames/recording_source.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "kit/base/input_error.h"
#include "tests/support/captured_log.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::record;
using testing::ElementsAre;

constexpr char kDirectory[] = "/tmp/d";
constexpr char kComplete[] = "/tmp/d/radar_150525_093007_042.data";
constexpr char kUnfinished[] = "/tmp/d/radar_150525_093007_042";

class RecordingSourceTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        setenv("TZ", "UTC", 1);
        make_empty_directory();
    }

    static void make_empty_directory() {
        std::filesystem::remove_all(kDirectory);
        std::filesystem::create_directory(kDirectory);
    }

    static std::vector<uint64_t> timestamps(Kit::FrameSource& source) {
        std::vector<uint64_t> times;
        RO::RadarObjects frame;
        while (source.next(frame)) times.push_back(frame.timestamp());
        return times;
    }

    /** The timestamps of the frames at a path. */
    static std::vector<uint64_t> timestamps(std::string const& path) {
        Kit::RecordingSource source(path);
        return timestamps(source);
    }

    /** What is the matter at a path. */
    static std::string problem(std::string const& path) {
        try {
            timestamps(path);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "no problem";
    }

    static std::string problem_of(std::string const& bytes) {
        test_support::write_file(kComplete, bytes);
        return problem(kComplete);
    }

    const std::string first = record(frame(1));
    const std::string second = record(frame(2));
};

TEST_F(RecordingSourceTest, FramesComeWithAllTheirFields) {
    RO::RadarObjects written;
    written.ParseFromString(frame(1000, 3));
    test_support::write_file(kComplete, header(1) + record(frame(1000, 3)));
    Kit::RecordingSource source(kComplete);
    RO::RadarObjects read;
    read.add_targets()->set_rcs(99);
    ASSERT_TRUE(source.next(read));
    EXPECT_EQ(read.DebugString(), written.DebugString());
}

TEST_F(RecordingSourceTest, TheEndComesAfterTheLastFrame) {
    test_support::write_file(kComplete, header(2) + first + second);
    EXPECT_THAT(timestamps(kComplete), ElementsAre(1, 2));
}

TEST_F(RecordingSourceTest, RewindingAFileGoesBackToItsFirstFrame) {
    test_support::write_file(kComplete, header(2) + first + second);
    Kit::RecordingSource source(kComplete);
    timestamps(source);
    source.rewind();
    EXPECT_THAT(timestamps(source), ElementsAre(1, 2));
}

TEST_F(RecordingSourceTest, RewindingWorksAfterDamage) {
    test_support::write_file(kComplete, header(2) + first + "damage");
    Kit::RecordingSource source(kComplete);
    EXPECT_THROW(timestamps(source), Kit::InputError);
    source.rewind();
    RO::RadarObjects frame;
    EXPECT_TRUE(source.next(frame));
}

TEST_F(RecordingSourceTest, ADirectoryIsReadInOrderOfTime) {
    test_support::write_file("/tmp/d/radar_150525_093007_900.data", header(1) + record(frame(3)));
    test_support::write_file(kComplete, header(2) + first + second);
    EXPECT_THAT(timestamps(kDirectory), ElementsAre(1, 2, 3));
}

TEST_F(RecordingSourceTest, RewindingADirectoryGoesBackToItsFirstFile) {
    test_support::write_file("/tmp/d/radar_150525_093007_900.data", header(1) + second);
    test_support::write_file(kComplete, header(1) + first);
    Kit::RecordingSource source(kDirectory);
    timestamps(source);
    source.rewind();
    EXPECT_THAT(timestamps(source), ElementsAre(1, 2));
}

TEST_F(RecordingSourceTest, AnUnfinishedFileEndsWithItsLastWholeRecord) {
    for (size_t size = 0; size <= 55; ++size) {
        test_support::write_file(kUnfinished, (header(0) + first + second).substr(0, size));
        EXPECT_EQ(timestamps(kUnfinished).size(), size == 55 ? 1u : 0u) << size;
    }
}

TEST_F(RecordingSourceTest, ACompleteFileThatIsCutIsRefused) {
    EXPECT_EQ(problem_of(header(2) + first + second.substr(0, 12)),
              std::string(kComplete) + ": offset 55: cut off inside a record: 12 of 15 bytes");
}

TEST_F(RecordingSourceTest, DamageInTheMiddleOfAnUnfinishedFileIsRefused) {
    std::string damaged = first;
    damaged[5] = '\x10';  // 4096 bytes more than there are
    test_support::write_file(kUnfinished, header(0) + first + damaged + second);
    EXPECT_EQ(problem(kUnfinished),
              std::string(kUnfinished) + ": offset 55: cut off inside a record: 30 of 4111 bytes");
}

TEST_F(RecordingSourceTest, ZerosAtTheEndOfAnUnfinishedFileAreRefused) {
    test_support::write_file(kUnfinished, header(0) + first + std::string(512, '\0'));
    EXPECT_EQ(problem(kUnfinished),
              std::string(kUnfinished) + ": offset 55: zeros where a record has to begin");
}

TEST_F(RecordingSourceTest, DamageIsNamedWithItsPlace) {
    EXPECT_EQ(problem_of(""), std::string(kComplete) + ": offset 0: empty");
    EXPECT_EQ(
        problem_of("something else"),
        std::string(kComplete) + ": offset 0: not a recording: 0x656D6F73 in place of 0xBADABADA");
    EXPECT_EQ(problem_of(header(1) + "raw data"),
              std::string(kComplete) +
                  ": offset 40: no record after the header, 0x20776172 is not a "
                  "tag: raw data, or damage");
    EXPECT_EQ(problem_of(header(1) + record("\x08\x05")),
              std::string(kComplete) + ": offset 40: frame with magic 5 in place of 29061378");
}

TEST_F(RecordingSourceTest, ACountThatDiffersCostsNoFrame) {
    test_support::write_file(kComplete, header(100) + first + second);
    EXPECT_THAT(timestamps(kComplete), ElementsAre(1, 2));
}

TEST_F(RecordingSourceTest, RecordingsThatWereJoinedAreReadOneAfterTheOther) {
    test_support::write_file(kComplete, header(1) + first + header(1) + second);
    EXPECT_THAT(timestamps(kComplete), ElementsAre(1, 2));
}

TEST_F(RecordingSourceTest, AnEmptyUnfinishedFileOfADirectoryHasNoFrames) {
    test_support::write_file(kComplete, header(1) + first);
    test_support::write_file("/tmp/d/radar_150525_093107_042", "");
    EXPECT_THAT(timestamps(kDirectory), ElementsAre(1));
}

TEST_F(RecordingSourceTest, RawDataInADirectoryIsPassedOverWithAMessage) {
    test_support::write_file(kComplete, header(1) + first);
    test_support::write_file("/tmp/d/raw_150525_093007_042.data", header(1) + "raw data");
    test_support::clear_log();
    EXPECT_THAT(timestamps(kDirectory), ElementsAre(1));
    EXPECT_THAT(test_support::captured_log(),
                ElementsAre(test_support::LogLine{
                    2,
                    "/tmp/d/raw_150525_093007_042.data: skipped: no record after the "
                    "header, raw data or damage\n"}));
}

TEST_F(RecordingSourceTest, ADirectoryOfSeveralRecordersIsRefused) {
    test_support::write_file(kComplete, header(1) + first);
    test_support::write_file("/tmp/d/radar_150525_093107_042.data",
                             header(1) + record(frame(2), 0xFEED2050));
    EXPECT_EQ(problem(kDirectory),
              "/tmp/d: holds files of several recorders: radar 0xFEED0007, radar 0xFEED2050");
}

TEST_F(RecordingSourceTest, ADirectoryWithoutRecordingsIsRefused) {
    test_support::write_file("/tmp/d/notes.txt", "of a measurement");
    EXPECT_EQ(problem(kDirectory), "/tmp/d: holds no recordings of frames");
}

TEST_F(RecordingSourceTest, AFileThatWasCompletedMeanwhileIsFound) {
    test_support::write_file(kUnfinished, header(1) + first);
    test_support::write_file("/tmp/d/radar_150525_093007_041.data", header(1) + second);
    Kit::RecordingSource source(kDirectory);
    std::filesystem::rename(kUnfinished, kComplete);
    EXPECT_THAT(timestamps(source), ElementsAre(2, 1));
}

TEST_F(RecordingSourceTest, AFileThatWasDeletedMeanwhileIsNamed) {
    test_support::write_file(kComplete, header(1) + first);
    test_support::write_file("/tmp/d/radar_150525_093007_041.data", header(1) + second);
    Kit::RecordingSource source(kDirectory);
    std::filesystem::remove(kComplete);
    EXPECT_THAT([&] { timestamps(source); },
                testing::ThrowsMessage<Kit::InputError>(
                    testing::StartsWith("/tmp/d/radar_150525_093007_042.data")));
}

TEST_F(RecordingSourceTest, APipeIsReadOnce) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const std::string bytes = header(1) + first;
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    const std::string path = "/dev/fd/" + std::to_string(ends[0]);
    Kit::RecordingSource source(path);
    EXPECT_THAT(timestamps(source), ElementsAre(1));
    EXPECT_THAT([&] { source.rewind(); }, testing::ThrowsMessage<Kit::InputError>(
                                              path + ": cannot be read again: Illegal seek"));
    close(ends[0]);
}

}  // namespace
