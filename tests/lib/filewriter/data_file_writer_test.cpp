#include "filewriter/data_file_writer.h"

#include <cerrno>
#include <filesystem>
#include <type_traits>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

using Radar::DataFileWriter;
using test_support::captured_log;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of<Radar::FileWriter, DataFileWriter>::value, "a rotating writer");
static_assert(!std::is_polymorphic<DataFileWriter>::value, "no virtual operations");

class DataFileWriterTest : public test_support::RecorderTest {
protected:
    /** Writes a frame; returns how many files were completed by then. */
    static long completed_after(DataFileWriter& writer, std::string const& frame) {
        writer.write(frame);
        long completed = 0;
        for (std::string const& name : list_directory("/tmp")) {
            if (name.find(".data") != std::string::npos) ++completed;
        }
        return completed;
    }

    /** Lets a second pass and writes a frame; returns how many files were completed by then. */
    long completed_after_a_second(DataFileWriter& writer) {
        ++now.tv_sec;
        return completed_after(writer, "frame");
    }

    const std::string name = "radar_150525_093007_042";
    const std::string next_name = "radar_150525_093008_042";
};

TEST_F(DataFileWriterTest, ADefaultRecorderIsOff) {
    DataFileWriter writer;
    writer.write("frame");
    writer.write("frame", 5);
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(DataFileWriterTest, ADefaultRecorderRecordsUnderTmpAsRadar) {
    DataFileWriter writer;
    writer.setEnabled(true);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
}

TEST_F(DataFileWriterTest, ADefaultRecorderKeepsAFileOpenForTenSeconds) {
    DataFileWriter writer;
    writer.setEnabled(true);
    now.tv_sec += 10;
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    EXPECT_EQ(completed_after_a_second(writer), 1);
}

TEST_F(DataFileWriterTest, ADefaultRecorderHasNoSizeLimit) {
    DataFileWriter writer;
    writer.setEnabled(true);
    EXPECT_EQ(completed_after(writer, std::string(10 << 20, 'x')), 0);
}

TEST_F(DataFileWriterTest, ADefaultRecorderKeepsEveryFile) {
    DataFileWriter writer;
    writer.setEnabled(true);
    for (int i = 1; i <= 10; ++i) {
        now.tv_sec += 11;
        EXPECT_EQ(completed_after(writer, "frame"), i);
    }
}

TEST_F(DataFileWriterTest, ARecorderThatIsOnOpensItsFileWithTheFirstFrame) {
    std::filesystem::create_directory("/tmp/a");
    DataFileWriter writer("/tmp/a", 60, true, "raw", 0);
    EXPECT_THAT(list_directory("/tmp/a"), IsEmpty());
    writer.write("frame");
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre("raw_150525_093007_042"));
}

TEST_F(DataFileWriterTest, ARecorderTakesItsLimitsFromItsArguments) {
    DataFileWriter writer("/tmp", 3, true, "raw", 1000);
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    now.tv_sec += 3;
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    EXPECT_EQ(completed_after_a_second(writer), 1);
    ++now.tv_sec;
    EXPECT_EQ(completed_after(writer, std::string(961, 'x')), 2);
}

TEST_F(DataFileWriterTest, BytesAreWrittenAsOneFrame) {
    DataFileWriter writer("/tmp", 60, true, "radar", 0);
    writer.write("a\0b and more", 3);
    const auto recording = parse_recording(read_file(first_name));
    EXPECT_EQ(recording.frames, 1U);
    EXPECT_EQ(recording.body, std::string("a\0b", 3));
}

TEST_F(DataFileWriterTest, SwitchingOnBeginsAFileAtOnce) {
    DataFileWriter writer;
    writer.setEnabled(true);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
}

TEST_F(DataFileWriterTest, SwitchingOnTwiceBeginsOneFile) {
    DataFileWriter writer;
    writer.setEnabled(true);
    ++now.tv_sec;
    writer.setEnabled(true);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(DataFileWriterTest, SwitchingOnARecorderThatIsOnOpensNothing) {
    DataFileWriter writer("/tmp", 60, true, "radar", 0);
    writer.setEnabled(true);
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(DataFileWriterTest, SwitchingOffCompletesTheFile) {
    DataFileWriter writer("/tmp", 60, true, "radar", 0);
    writer.write("frame");
    writer.setEnabled(false);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    writer.write("frame");
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
}

TEST_F(DataFileWriterTest, SwitchingOffARecorderWithoutAFileDoesNothing) {
    DataFileWriter writer("/tmp", 60, true, "radar", 0);
    writer.setEnabled(false);
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(DataFileWriterTest, ARestartCompletesTheFileAndBeginsANewOne) {
    DataFileWriter writer("/tmp", 60, true, "radar", 0);
    writer.write("frame");
    ++now.tv_sec;
    writer.restart();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
    writer.write("frame");
    EXPECT_EQ(parse_recording(read_file("/tmp/" + next_name)).frames, 1U);
}

TEST_F(DataFileWriterTest, ARestartWhileOffOpensNothing) {
    DataFileWriter writer;
    writer.restart();
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(DataFileWriterTest, DestructionCompletesTheFile) {
    {
        DataFileWriter writer("/tmp", 60, true, "radar", 0);
        writer.write("frame");
    }
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
}

class DataFileRotationTest : public DataFileWriterTest {
protected:
    DataFileWriter writer{"/tmp", 60, true, "radar", 0};
};

TEST_F(DataFileRotationTest, TheFrameThatFindsTheFileTooOldIsItsLast) {
    writer.write("first");
    now.tv_sec += 61;
    writer.write("last");
    EXPECT_EQ(parse_recording(read_file(first_name + ".data")).body, "firstlast");
    writer.write("next");
    EXPECT_EQ(parse_recording(read_file("/tmp/radar_150525_093108_042")).body, "next");
}

TEST_F(DataFileRotationTest, TheNextFileIsBegunAtOnce) {
    writer.write("first");
    now.tv_sec += 61;
    writer.write("last");
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", "radar_150525_093108_042"));
}

TEST_F(DataFileRotationTest, AFileWithoutFramesStaysOpenHoweverOldItIs) {
    writer.write("first");
    now.tv_sec += 100000;
    EXPECT_TRUE(writer.is_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
}

TEST_F(DataFileRotationTest, AFileTimeOfZeroEndsAFileWithTheFirstFrameOfALaterSecond) {
    writer.setFileTime(0);
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    EXPECT_EQ(completed_after_a_second(writer), 1);
    EXPECT_EQ(completed_after_a_second(writer), 2);
}

TEST_F(DataFileRotationTest, ANegativeFileTimeEndsAFileWithEveryFrame) {
    writer.setFileTime(-1);
    system_calls.gettimeofday = [this](timeval* time) {
        now.tv_usec += 1000;  // files that are begun in one millisecond have one name
        *time = now;
        return 0;
    };
    EXPECT_EQ(completed_after(writer, "frame"), 1);
    EXPECT_EQ(completed_after(writer, "frame"), 2);
}

TEST_F(DataFileRotationTest, AClockThatIsSetBackDoesNotEndTheFile) {
    writer.setFileTime(0);
    writer.write("frame");
    now.tv_sec -= 1000000;
    EXPECT_EQ(completed_after(writer, "frame"), 0);
}

TEST_F(DataFileRotationTest, TheAgeIsADifferenceOf32Bits) {
    if (sizeof(time_t) == 4) GTEST_SKIP() << "the clock has no more bits";
    writer.write("frame");
    const auto wrap = static_cast<time_t>(int64_t{1} << 31);
    now.tv_sec += wrap;
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    now.tv_sec += wrap + 60;
    EXPECT_EQ(completed_after(writer, "frame"), 0);
    EXPECT_EQ(completed_after_a_second(writer), 1);
}

TEST_F(DataFileRotationTest, TheFrameThatTakesAFilePastItsSizeIsItsLast) {
    writer.setMaxFileSize(100);
    const std::string frame(30, 'x');
    EXPECT_EQ(completed_after(writer, frame), 0);
    EXPECT_EQ(completed_after(writer, frame), 0) << "100 bytes are not more than 100";
    EXPECT_EQ(completed_after(writer, frame), 1);
    EXPECT_EQ(read_file(first_name + ".data").size(), 130U);
}

TEST_F(DataFileRotationTest, ASizeAboveTwoGibibytesIsUnsigned) {
    writer.setMaxFileSize(0xFFFFFFFF);
    EXPECT_EQ(completed_after(writer, "frame"), 0);
}

TEST_F(DataFileRotationTest, BothLimitsAtOnceEndTheFileOnce) {
    writer.setMaxFileSize(100);
    writer.write("frame");
    now.tv_sec += 61;
    EXPECT_EQ(completed_after(writer, std::string(100, 'x')), 1);
    EXPECT_EQ(list_directory("/tmp").size(), 2U);
}

TEST_F(DataFileRotationTest, NewLimitsApplyFromTheNextFrameOn) {
    writer.write("frame");
    now.tv_sec += 5;
    writer.setFileTime(4);
    writer.setMaxFileSize(1);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    EXPECT_EQ(completed_after(writer, "frame"), 1);
}

TEST_F(DataFileRotationTest, AKeptCountAppliesFromTheNextFileOn) {
    writer.setMaxFileCount(1);
    writer.setFileTime(0);
    for (int i = 0; i < 5; ++i) completed_after_a_second(writer);
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093011_042.data", "radar_150525_093012_042"));
}

TEST_F(DataFileRotationTest, AnUnreachableDirectoryIsTriedOnceForEveryFrame) {
    DataFileWriter unreachable("/tmp/none", 60, true, "radar", 0);
    unreachable.write("first");
    unreachable.write("second");
    EXPECT_EQ(captured_log().size(), 2U);
}

TEST_F(DataFileRotationTest, AnUnreachableDirectoryIsTriedOnceMoreWhenTheFileTimeHasPassed) {
    DataFileWriter unreachable("/tmp/none", 0, true, "radar", 0);
    system_calls.time = [this] { return now.tv_sec + 1; };
    unreachable.write("frame");
    EXPECT_EQ(captured_log(), (Log{failed_stream(2, "Failed to open /tmp/none/" + name),
                                   failed_stream(2, "Failed to open /tmp/none/" + name)}));
}

TEST_F(DataFileRotationTest, AFailedRewriteOfTheCounterReachesTheCallerAndKeepsTheFile) {
    writer.setFileTime(0);
    writer.write("frame");
    ++now.tv_sec;
    system_calls.write = test_support::fails_with(ENOSPC);
    EXPECT_THROW(writer.write("frame"), std::ios_base::failure);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    system_calls.write = nullptr;
}

}  // namespace
