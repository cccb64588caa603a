#include "filewriter/file_writer.h"

#include <type_traits>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

using Radar::FileWriter;
using test_support::captured_log;
using test_support::ExposedFileWriter;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using test_support::Recording;
using test_support::write_file;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_polymorphic<FileWriter>::value, "no virtual operations");
static_assert(!std::is_copy_constructible<FileWriter>::value, "owns a file");

class FileWriterTest : public test_support::RecorderTest {
protected:
    /** The file that the writer completes now. */
    Recording completed() {
        writer.close();
        return parse_recording(read_file(first_name + ".data"));
    }

    ExposedFileWriter writer{"/tmp", "radar", 0};
};

TEST_F(FileWriterTest, ANewWriterOpensNothing) {
    EXPECT_FALSE(writer.is_open());
    EXPECT_EQ(writer.get_bytes_written(), 0U);
    EXPECT_EQ(writer.open_time.tv_sec, 0);
    EXPECT_EQ(writer.open_time.tv_usec, 0);
    EXPECT_THAT(writer.completed_files, IsEmpty());
    EXPECT_EQ(writer.file_name.str(), "");
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(FileWriterTest, OpenBeginsAFile) {
    EXPECT_TRUE(writer.open());
    EXPECT_TRUE(writer.is_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042"));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FileWriterTest, TryOpenBeginsAFile) {
    EXPECT_TRUE(writer.try_open());
    EXPECT_TRUE(writer.is_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042"));
}

TEST_F(FileWriterTest, CheckOpenBeginsAFileWhenNoneIsOpen) {
    EXPECT_TRUE(writer.check_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042"));
}

TEST_F(FileWriterTest, CheckOpenKeepsTheFileThatIsOpen) {
    writer.open();
    ++now.tv_sec;
    EXPECT_TRUE(writer.check_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042"));
}

TEST_F(FileWriterTest, AFileIsBegunEmptyOverAnOlderOneOfItsName) {
    write_file(first_name, std::string(100, 'x'));
    writer.open();
    writer.close();
    EXPECT_EQ(read_file(first_name + ".data").size(), 40U);
}

TEST_F(FileWriterTest, TheOpenTimeIsThatOfTheCurrentFile) {
    writer.open();
    EXPECT_EQ(writer.open_time.tv_sec, 1747301407);
    EXPECT_EQ(writer.open_time.tv_usec, 42999);
}

TEST_F(FileWriterTest, AFileWithoutFramesHoldsItsHeader) {
    writer.open();
    EXPECT_EQ(writer.get_bytes_written(), 40U);
    writer.close();
    EXPECT_EQ(read_file(first_name + ".data").size(), 40U);
}

TEST_F(FileWriterTest, TheHeaderHoldsFormatTimeAndSettings) {
    write_file("/etc/radar/analytics.conf",
               "[ANALYTICS]\ndetection_sensitivity=high\nmounting_height=2.75\n"
               "mounting_tilt=-12.5\n");
    writer.open();
    const Recording recording = completed();
    test_support::expect_header(recording, 0);
    EXPECT_EQ(recording.body, "");
}

TEST_F(FileWriterTest, WithoutSettingsTheHeaderHoldsTheirDefaults) {
    writer.open();
    const Recording recording = completed();
    EXPECT_EQ(recording.height, 0.0);
    EXPECT_EQ(recording.tilt, 0.0);
    EXPECT_EQ(recording.sensitivity, 1);
}

TEST_F(FileWriterTest, TheHeaderHasDaylightSavingTime) {
    setenv("TZ", "UTC0SUM0,M3.5.0,M10.5.0", 1);
    writer.open();
    EXPECT_EQ(completed().daylight, 1);
}

TEST_F(FileWriterTest, SettingsAreReadForEachHeader) {
    writer.open();
    writer.close();
    write_file("/etc/radar/analytics.conf", "[ANALYTICS]\nmounting_height=2.75\n");
    writer.open();
    EXPECT_EQ(completed().height, 2.75);
}

TEST_F(FileWriterTest, HeightTiltAndSensitivityAreReadInThisOrder) {
    write_file("/etc/radar/analytics.conf", "[Other]\n");
    writer.open();
    const auto about = [](std::string const& key) {
        return testing::Field(&test_support::LogLine::text,
                              testing::StartsWith("Failed to read " + key + ": "));
    };
    EXPECT_THAT(captured_log(), ElementsAre(about("mounting_height"), about("mounting_tilt"),
                                            about("detection_sensitivity")));
}

TEST_F(FileWriterTest, TheFrameCounterOnDiskIsUpToDateAfterEveryFrame) {
    for (uint32_t n = 1; n <= 3; ++n) {
        EXPECT_TRUE(writer.write(std::string("frame")));
        EXPECT_EQ(parse_recording(read_file(first_name)).frames, n);
    }
}

TEST_F(FileWriterTest, FramesFollowTheHeaderAndOneAnother) {
    using namespace std::string_literals;
    EXPECT_TRUE(writer.write("first"s));
    EXPECT_TRUE(writer.write("\0\n\xFF"s));
    EXPECT_TRUE(writer.write(""s));
    const Recording recording = completed();
    EXPECT_EQ(recording.frames, 3U);
    EXPECT_EQ(recording.body, "first\0\n\xFF"s);
}

TEST_F(FileWriterTest, AFrameLargerThanAnyBufferIsWrittenWhole) {
    const std::string frame(1 << 20, 'x');
    EXPECT_TRUE(writer.write(frame));
    EXPECT_EQ(writer.get_bytes_written(), 40U + frame.size());
    EXPECT_EQ(completed().body, frame);
}

TEST_F(FileWriterTest, BytesAreCountedWithTheHeaderAndWithoutRewritesOfTheCounter) {
    writer.write(std::string(30, 'x'));
    EXPECT_EQ(writer.get_bytes_written(), 70U);
    writer.write(std::string(30, 'x'));
    EXPECT_EQ(writer.get_bytes_written(), 100U);
}

TEST_F(FileWriterTest, RawBytesAreCountedButAreNoFrame) {
    writer.open();
    writer.write("raw bytes", 3);
    EXPECT_EQ(writer.get_bytes_written(), 43U);
    const Recording recording = completed();
    EXPECT_EQ(recording.frames, 0U);
    EXPECT_EQ(recording.body, "raw");
}

TEST_F(FileWriterTest, AFrameBeginsAFileWhenNoneIsOpen) {
    EXPECT_TRUE(writer.write(std::string("frame")));
    EXPECT_TRUE(writer.is_open());
}

TEST_F(FileWriterTest, ANewFileStartsItsCountsAnew) {
    writer.write(std::string("frame"));
    writer.close();
    now.tv_sec += 1;
    writer.open();
    EXPECT_EQ(writer.get_bytes_written(), 40U);
    writer.write(std::string("other"));
    writer.close();
    const Recording second = parse_recording(read_file("/tmp/radar_150525_093008_042.data"));
    EXPECT_EQ(second.frames, 1U);
    EXPECT_EQ(second.body, "other");
}

TEST_F(FileWriterTest, TheBytesOfACompletedFileAreReported) {
    writer.write(std::string("frame"));
    writer.close();
    EXPECT_EQ(writer.get_bytes_written(), 45U);
}

TEST_F(FileWriterTest, CountingAFrameWithoutAnyHeaderFails) {
    EXPECT_FALSE(writer.increment_frame_counter());
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(FileWriterTest, AFrameCanBeCountedWithoutItsBytes) {
    writer.open();
    EXPECT_TRUE(writer.increment_frame_counter());
    EXPECT_TRUE(writer.increment_frame_counter());
    EXPECT_EQ(writer.get_bytes_written(), 40U);
    const Recording recording = completed();
    EXPECT_EQ(recording.frames, 2U);
    EXPECT_EQ(recording.body, "");
}

TEST_F(FileWriterTest, ASecondHeaderCountsItsFramesInItsOwnPlace) {
    writer.open();
    writer.write_file_header();
    EXPECT_EQ(writer.get_bytes_written(), 80U);
    writer.write(std::string("frame"));
    const Recording first = completed();
    EXPECT_EQ(first.frames, 0U);
    EXPECT_EQ(parse_recording(first.body).frames, 1U);
    EXPECT_EQ(parse_recording(first.body).body, "frame");
}

}  // namespace
