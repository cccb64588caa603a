#include <sys/resource.h>

#include <cerrno>
#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

namespace fs = std::filesystem;

using test_support::captured_log;
using test_support::fails_with;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using testing::ElementsAre;

class FileWriterFaultTest : public test_support::WriterTest {
protected:
    /** Larger than the stream's buffer: goes to the file at once, together with what is pending. */
    const std::string large = std::string(100000, 'x');
};

TEST_F(FileWriterFaultTest, AFileThatCannotBeBegunIsLogged) {
    writer.directory = "/tmp/none";
    EXPECT_FALSE(writer.open());
    EXPECT_FALSE(writer.is_open());
    EXPECT_EQ(captured_log(),
              (Log{failed_stream(2, "Failed to open /tmp/none/radar_150525_093007_042")}));
    EXPECT_EQ(test_support::captured_formats(), Names{"%s"});
}

TEST_F(FileWriterFaultTest, BytesOfTheFileBeforeAreReportedWhenTheNextCannotBeBegun) {
    write("frame");
    writer.close();
    writer.directory = "/tmp/none";
    writer.open();
    EXPECT_EQ(writer.get_bytes_written(), 45U);
}

TEST_F(FileWriterFaultTest, OpeningIsTriedOnceForEveryFrame) {
    writer.directory = "/tmp/none";
    EXPECT_FALSE(write("first"));
    EXPECT_FALSE(write("second"));
    EXPECT_EQ(captured_log().size(), 2U);
    fs::create_directory("/tmp/none");
    EXPECT_TRUE(write("third"));
    EXPECT_EQ(parse_recording(read_file("/tmp/none/radar_150525_093007_042")).body, "third");
}

TEST_F(FileWriterFaultTest, WithoutDescriptorsNoFileIsBegun) {
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none = {0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_FALSE(write("first"));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(captured_log(), (Log{failed_stream(2, "Failed to open " + first_name)}));
    EXPECT_TRUE(write("second"));
}

TEST_F(FileWriterFaultTest, OpeningWhileAFileIsOpenFailsAndTheFileIsReplacedWithTheNextFrame) {
    writer.open();
    now.tv_sec += 1;
    EXPECT_FALSE(writer.open());
    EXPECT_EQ(captured_log(),
              (Log{failed_stream(2, "Failed to open /tmp/radar_150525_093008_042")}));
    EXPECT_TRUE(write("frame"));
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093007_042", "radar_150525_093008_042"));
}

TEST_F(FileWriterFaultTest, AClockThatFailsIsLoggedAndTheTimeBeforeIsUsed) {
    writer.open_time = {1747301400, 0};
    system_calls.gettimeofday = fails_with(EFAULT);
    EXPECT_TRUE(writer.open());
    EXPECT_EQ(captured_log(), (Log{failed_call(2, "gettimeofday failed", EFAULT)}));
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093000_000"));
}

TEST_F(FileWriterFaultTest, BytesWithoutAnOpenFileAreLoggedAndNotCounted) {
    writer.write("raw", 3);
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing ")}));
    EXPECT_EQ(writer.get_bytes_written(), 0U);
}

TEST_F(FileWriterFaultTest, AHeaderWithoutAnOpenFileIsLoggedFieldByFieldAndCountsNoFrames) {
    writer.write_file_header();
    EXPECT_EQ(captured_log(), Log(8, failed_stream(1, "Error writing ")));
    EXPECT_EQ(writer.get_bytes_written(), 0U);
    EXPECT_FALSE(writer.increment_frame_counter());
}

TEST_F(FileWriterFaultTest, AFailedWriteIsLoggedAndNotCounted) {
    writer.open();
    system_calls.writev = fails_with(EIO);
    writer.write(large.data(), 100000);
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing " + first_name)}));
    EXPECT_EQ(writer.get_bytes_written(), 40U);
    EXPECT_TRUE(writer.is_open());
}

TEST_F(FileWriterFaultTest, AfterAFailedWriteLaterWritesAreTriedAgain) {
    writer.open();
    system_calls.writev = fails_with(EIO);
    writer.write(large.data(), 100000);
    system_calls.writev = nullptr;
    writer.write(large.data(), 100000);
    EXPECT_EQ(writer.get_bytes_written(), 100040U);
    writer.close();
    EXPECT_EQ(parse_recording(read_file(first_name + ".data")).body, large);
}

TEST_F(FileWriterFaultTest, AFrameWhoseBytesFailIsCountedAllTheSame) {
    writer.open();
    system_calls.writev = fails_with(EIO);
    EXPECT_TRUE(write(large));
    EXPECT_EQ(parse_recording(read_file(first_name)).frames, 1U);
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing " + first_name)}));
}

TEST_F(FileWriterFaultTest, AnInterruptedWriteIsContinued) {
    int calls = 0;
    system_calls.writev = [&calls](int fd, iovec const* pieces, int count) -> ssize_t {
        if (++calls > 1) return test_support::real_writev(fd, pieces, count);
        errno = EINTR;
        return -1;
    };
    EXPECT_TRUE(write(large));
    EXPECT_EQ(parse_recording(read_file(first_name)).body, large);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FileWriterFaultTest, APartialWriteIsContinued) {
    system_calls.write = [](int fd, void const* bytes, size_t size) {
        return test_support::real_write(fd, bytes, size > 7 ? 7 : size);
    };
    EXPECT_TRUE(write("a frame of some length"));
    EXPECT_EQ(parse_recording(read_file(first_name)).body, "a frame of some length");
}

TEST_F(FileWriterFaultTest, ADeviceThatIsFullIsReportedInEveryStep) {
    fs::create_symlink("/dev/full", first_name);
    EXPECT_THROW(write("first"), std::ios_base::failure);
    EXPECT_THROW(write("second"), std::ios_base::failure);
    writer.close();
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing " + first_name),
                                   failed_stream(2, "Could not close " + first_name),
                                   failed_call(1, "Failed to fsync " + first_name, EINVAL),
                                   {2, "Failed to sync data file " + first_name + "!\n"}}));
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042.data"));
}

}  // namespace
