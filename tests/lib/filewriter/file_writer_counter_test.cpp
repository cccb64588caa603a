#include <cerrno>
#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

namespace fs = std::filesystem;

using test_support::captured_log;
using test_support::fails_with;
using test_support::parse_recording;
using test_support::read_file;
using testing::ElementsAre;

/** The frame counter in the header, which is rewritten after every frame. */
class FrameCounterTest : public test_support::WriterTest {
protected:
    FrameCounterTest() {
        system_calls.write = [this](int fd, void const* bytes, size_t size) -> ssize_t {
            if (size != sizeof(uint32_t) || !due(failing_rewrites)) {
                return test_support::real_write(fd, bytes, size);
            }
            if (lose_the_file) fs::remove(first_name);
            errno = EIO;
            return -1;
        };
        system_calls.lseek = [this](int fd, off64_t offset, int whence) -> off64_t {
            if (whence != SEEK_SET || !due(failing_seeks)) {
                return test_support::real_lseek(fd, offset, whence);
            }
            errno = EIO;
            return -1;
        };
    }

    /** Writes a frame for each letter: five times the letter. Returns those that threw. */
    std::string write_frames(std::string const& letters) {
        std::string threw;
        for (const char letter : letters) {
            try {
                write(std::string(5, letter));
            } catch (std::ios_base::failure const&) {
                threw += letter;
            }
        }
        return threw;
    }

    /** A letter for each frame that a file holds; fails the test when a frame is not whole. */
    static std::string frames_in(std::string const& name) {
        const std::string body = parse_recording(read_file(name)).body;
        std::string letters;
        for (std::size_t i = 0; i < body.size(); i += 5) {
            EXPECT_EQ(body.substr(i, 5), std::string(5, body[i]));
            letters += body[i];
        }
        return letters;
    }

    uint32_t counted() const { return parse_recording(read_file(first_name)).frames; }

    const test_support::LogLine failed_write = failed_stream(1, "Error writing " + first_name);

    /** How many of the next attempts to store the counter fail. */
    int failing_rewrites = 0;
    /** How many of the next moves to a place in the file fail. */
    int failing_seeks = 0;
    /** Whether the file is deleted at the moment of the failure. */
    bool lose_the_file = false;

private:
    static bool due(int& failures) { return failures > 0 && failures-- > 0; }
};

TEST_F(FrameCounterTest, AFrameTakesSixSystemCalls) {
    write_frames("A");
    std::vector<std::string> calls;
    system_calls.stat = [&calls](char const* path, struct stat* status) {
        calls.push_back("stat");
        return test_support::real_stat(path, status);
    };
    system_calls.write = [&calls](int fd, void const* bytes, size_t size) {
        calls.push_back("write " + std::to_string(size));
        return test_support::real_write(fd, bytes, size);
    };
    system_calls.lseek = [&calls](int fd, off64_t offset, int whence) {
        calls.push_back("lseek");
        return test_support::real_lseek(fd, offset, whence);
    };
    write_frames("B");
    system_calls.stat = nullptr;
    EXPECT_THAT(calls, ElementsAre("stat", "lseek", "write 5", "lseek", "write 4", "lseek"));
}

TEST_F(FrameCounterTest, AFailedRewriteReachesTheCaller) {
    write_frames("A");
    failing_rewrites = 1;
    EXPECT_EQ(write_frames("B"), "B");
    EXPECT_EQ(captured_log(), Log{});
    EXPECT_TRUE(writer.is_open());
}

TEST_F(FrameCounterTest, AfterAFailedRewriteOneFrameIsLoggedAndTheOthersFollowAtTheEnd) {
    write_frames("ABC");
    failing_rewrites = 1;
    EXPECT_EQ(write_frames("DEFGH"), "D");
    EXPECT_EQ(frames_in(first_name), "ABCDFGH");
    EXPECT_EQ(counted(), 8U);
    EXPECT_EQ(captured_log(), Log{failed_write});
}

TEST_F(FrameCounterTest, ARewriteThatGoesOnFailingOverwritesNoFrame) {
    write_frames("ABC");
    failing_rewrites = 5;  // each of them twice
    EXPECT_EQ(write_frames("DEFGHIJ"), "DEF");
    EXPECT_EQ(frames_in(first_name), "ABCDHIJ");
    EXPECT_EQ(counted(), 10U);
    EXPECT_EQ(captured_log(), Log(3, failed_write));
}

TEST_F(FrameCounterTest, FailedRewritesOneAfterTheOtherOverwriteNoFrame) {
    write_frames("A");
    for (char const* frames : {"BCD", "EFG", "HIJ"}) {
        failing_rewrites = 2;  // also the second attempt, when the file is reopened
        write_frames(frames);
    }
    EXPECT_EQ(frames_in(first_name), "ABDEGHJ");
    EXPECT_EQ(counted(), 10U);
}

TEST_F(FrameCounterTest, RawBytesAfterAFailedRewriteOverwriteNoFrame) {
    write_frames("ABC");
    failing_rewrites = 2;
    EXPECT_EQ(write_frames("D"), "D");
    for (char const* raw : {"EEEEE", "FFFFF", "GGGGG"}) writer.write(raw, 5);
    writer.close();
    EXPECT_EQ(frames_in(first_name + ".data"), "ABCDFG");
    EXPECT_EQ(captured_log(), Log{failed_write});
}

TEST_F(FrameCounterTest, AFailedSeekToTheCounterOverwritesNoFrame) {
    write_frames("ABC");
    failing_seeks = 1;
    EXPECT_EQ(write_frames("DEFGH"), "D");
    EXPECT_EQ(frames_in(first_name), "ABCDFGH");
    EXPECT_EQ(counted(), 8U);
}

TEST_F(FrameCounterTest, AFailedSeekBackOverwritesNoFrame) {
    write_frames("ABC");
    int seeks = 0;
    system_calls.lseek = [&seeks](int fd, off64_t offset, int whence) -> off64_t {
        if (whence != SEEK_SET || ++seeks != 2) {
            return test_support::real_lseek(fd, offset, whence);
        }
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(write_frames("DEFGH"), "D");
    EXPECT_EQ(frames_in(first_name), "ABCDFGH");
    EXPECT_EQ(counted(), 8U);
    system_calls.lseek = nullptr;
}

TEST_F(FrameCounterTest, WhenThePositionIsUnknownAFrameIsCountedInMemory) {
    write_frames("A");
    system_calls.lseek = fails_with(EIO);
    EXPECT_FALSE(write("BBBBB"));
    system_calls.lseek = nullptr;
    EXPECT_TRUE(write("CCCCC"));
    EXPECT_EQ(counted(), 3U);
    EXPECT_EQ(frames_in(first_name), "ABC");
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FrameCounterTest, AFileThatIsLostWithTheRewriteIsReplacedByANewOne) {
    write_frames("A");
    failing_rewrites = 2;
    lose_the_file = true;
    EXPECT_EQ(write_frames("B"), "B");
    EXPECT_FALSE(writer.is_open());
    now.tv_sec += 1;
    EXPECT_EQ(write_frames("CD"), "");
    EXPECT_EQ(frames_in("/tmp/radar_150525_093008_042"), "CD");
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FrameCounterTest, ACompletedFileHoldsWhatAFailedRewriteLeft) {
    write_frames("AB");
    failing_rewrites = 2;
    EXPECT_EQ(write_frames("C"), "C");
    writer.close();
    EXPECT_EQ(frames_in(first_name + ".data"), "ABC");
    EXPECT_EQ(captured_log(), Log{});
}

/** The disk does not take the frame itself, which the stream keeps. */
class PendingFrameTest : public FrameCounterTest {
protected:
    PendingFrameTest() { system_calls.write = fails_with(ENOSPC); }
};

TEST_F(PendingFrameTest, ReachesTheCallerAndTheNextFrameIsLogged) {
    EXPECT_EQ(write_frames("AB"), "AB");
    EXPECT_EQ(captured_log(), Log{failed_write});
    EXPECT_EQ(writer.get_bytes_written(), 40U + 5U);
    EXPECT_TRUE(writer.is_open());
}

TEST_F(PendingFrameTest, IsStoredWhenTheDiskTakesItAgain) {
    EXPECT_EQ(write_frames("AB"), "AB");
    system_calls.write = nullptr;
    EXPECT_EQ(write_frames("CDE"), "");
    EXPECT_EQ(frames_in(first_name), "ADE");
    EXPECT_EQ(counted(), 5U);
    EXPECT_EQ(captured_log(), Log(2, failed_write));
}

}  // namespace
