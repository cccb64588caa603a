#include "filewriter/object_file_writer.h"

#include <cerrno>
#include <climits>
#include <filesystem>
#include <type_traits>

#include "lib/allocations.h"
#include "lib/filewriter/frames.h"
#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"
#include "lib/hex.h"

namespace {

using Radar::ObjectFileWriter;
using Radar::SocketBuffer;
using test_support::bytes;
using test_support::captured_log;
using test_support::hex;
using test_support::list_directory;
using test_support::make_frame_at;
using test_support::make_frame_of;
using test_support::parse_recording;
using test_support::parse_records;
using test_support::read_file;
using test_support::Record;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of<Radar::DataFileWriter, ObjectFileWriter>::value, "a data writer");
static_assert(!std::is_polymorphic<ObjectFileWriter>::value, "no virtual operations");

class ObjectFileWriterTest : public test_support::RecorderTest {
protected:
    ObjectFileWriterTest() { make_frame_at(frame, 42); }

    /** The tag in the records of a writer. */
    uint32_t tag_of(ObjectFileWriter& writer) {
        return parse_records(writer.formatData(frame)).at(0).tag;
    }

    SocketBuffer frame{10};
    const std::string name = "radar_150525_093007_042";
};

TEST_F(ObjectFileWriterTest, ARecordIsTagLengthAndEncoding) {
    ObjectFileWriter writer(7, "/tmp", 60, false, 0);
    SocketBuffer empty(0);
    EXPECT_EQ(hex(writer.formatData(empty)), "07 00 ED FE 05 00 00 00 08 82 E2 ED 0D");
}

TEST_F(ObjectFileWriterTest, ARecordHoldsTheEncodingOfItsFrame) {
    ObjectFileWriter writer(7, "/tmp", 60, false, 0);
    EXPECT_EQ(parse_records(writer.formatData(frame)),
              (std::vector<Record>{{0xFEED0007, frame.data()}}));
}

TEST_F(ObjectFileWriterTest, ALengthOfSeveralBytesHasTheLowestFirst) {
    ObjectFileWriter writer(7, "/tmp", 60, false, 0);
    make_frame_of(frame, 300);
    ASSERT_EQ(frame.data().size(), 300U);
    const std::string record = writer.formatData(frame);
    EXPECT_EQ(record.size(), 308U);
    EXPECT_EQ(hex(record.substr(0, 8)), "07 00 ED FE 2C 01 00 00");
    EXPECT_EQ(record.substr(8), frame.data());
}

TEST_F(ObjectFileWriterTest, TheTagOfADefaultRecorderIsFixed) {
    ObjectFileWriter writer;
    EXPECT_EQ(tag_of(writer), 0xFEED2050);
}

TEST_F(ObjectFileWriterTest, TheTagIsTheIdentifierOverTheMarker) {
    for (auto const& [id, tag] : {std::pair<int, uint32_t>{0, 0xFEED0000},
                                  {0x2050, 0xFEED2050},
                                  {0xFFFF, 0xFEEDFFFF},
                                  {0x10000, 0xFEED0000},
                                  {0x120001, 0xFEFF0001},
                                  {-1, 0xFFFFFFFF}}) {
        ObjectFileWriter writer(id, "/tmp", 60, false, 0);
        EXPECT_EQ(tag_of(writer), tag) << id;
    }
}

TEST_F(ObjectFileWriterTest, ADefaultRecorderIsOff) {
    ObjectFileWriter writer;
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(ObjectFileWriterTest, ADefaultRecorderKeepsAFileUnderTmpOpenForTenSeconds) {
    ObjectFileWriter writer;
    writer.setEnabled(true);
    now.tv_sec += 10;
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    ++now.tv_sec;
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", "radar_150525_093018_042"));
}

TEST_F(ObjectFileWriterTest, ADefaultRecorderHasNoSizeLimit) {
    ObjectFileWriter writer;
    writer.setEnabled(true);
    make_frame_of(frame, 16000);
    for (int i = 0; i < 1000; ++i) writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
}

TEST_F(ObjectFileWriterTest, ARecorderTakesDirectoryAndLimitsFromItsArguments) {
    std::filesystem::create_directory("/tmp/a");
    ObjectFileWriter writer(7, "/tmp/a", 3, true, 347);
    EXPECT_THAT(list_directory("/tmp/a"), IsEmpty());
    make_frame_of(frame, 299);
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre(name)) << "347 bytes";
    now.tv_sec += 4;
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre(name + ".data", "radar_150525_093011_042"));
    make_frame_of(frame, 300);
    ++now.tv_sec;
    writer.write(frame);
    EXPECT_EQ(list_directory("/tmp/a").size(), 3U) << "348 bytes";
}

TEST_F(ObjectFileWriterTest, RecordsFollowTheHeaderAndCountAsFrames) {
    ObjectFileWriter writer(7, "/tmp", 60, true, 0);
    writer.write(frame);
    const std::string first = frame.data();
    make_frame_at(frame, 43);
    writer.write(frame);
    const auto recording = parse_recording(read_file(first_name));
    EXPECT_EQ(recording.frames, 2U);
    EXPECT_EQ(parse_records(recording.body),
              (std::vector<Record>{{0xFEED0007, first}, {0xFEED0007, frame.data()}}));
}

TEST_F(ObjectFileWriterTest, AFrameWithoutAnyByteIsARecord) {
    ObjectFileWriter writer(7, "/tmp", 60, true, 0);
    frame.set_data("");
    writer.write(frame);
    EXPECT_EQ(hex(parse_recording(read_file(first_name)).body), "07 00 ED FE 00 00 00 00");
}

TEST_F(ObjectFileWriterTest, RecordingDoesNotChangeTheFrame) {
    ObjectFileWriter writer(7, "/tmp", 60, true, 0);
    const std::string before = frame.data();
    writer.write(frame);
    EXPECT_EQ(frame.data(), before);
}

TEST_F(ObjectFileWriterTest, AFrameIsNotEvenEncodedWhileRecordingIsOff) {
    ObjectFileWriter writer;
    make_frame_of(frame, 300);
    test_support::Allocations allocations;
    allocations.out_of_memory = true;
    EXPECT_THROW(writer.formatData(frame), std::bad_alloc);
    EXPECT_NO_THROW(writer.write(frame));
}

TEST_F(ObjectFileWriterTest, AFailedRewriteOfTheCounterReachesTheCaller) {
    ObjectFileWriter writer(7, "/tmp", 60, true, 0);
    system_calls.write = test_support::fails_with(ENOSPC);
    EXPECT_THROW(writer.write(frame), std::ios_base::failure);
    system_calls.write = nullptr;
}

/** A recorder with one record in its file, a second ago. */
class ObjectFileWriterSettingsTest : public ObjectFileWriterTest {
protected:
    void SetUp() override {
        ObjectFileWriterTest::SetUp();
        if (IsSkipped()) return;
        writer.write(frame);
        ++now.tv_sec;
    }

    void expect_untouched() { EXPECT_THAT(list_directory("/tmp"), ElementsAre(name)); }

    const std::string card = "/var/spool/storage/SD_DISK";
    const std::string next_name = "radar_150525_093008_042";
    ObjectFileWriter writer{7, "/tmp", 60, true, 0};
};

TEST_F(ObjectFileWriterSettingsTest, EnabledWithOneSwitchesOn) {
    writer.setEnabled(false);
    writer.configure("FileWriterEnabled", 1);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(ObjectFileWriterSettingsTest, EnabledWithEveryOtherValueSwitchesOff) {
    for (const int value : {0, 5, -1, INT_MAX}) {
        writer.setEnabled(true);
        writer.configure("FileWriterEnabled", value);
        EXPECT_FALSE(writer.is_open()) << value;
    }
}

TEST_F(ObjectFileWriterSettingsTest, FileTimeIsInSeconds) {
    writer.configure("FileWriterFileTime", 0);
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(ObjectFileWriterSettingsTest, LocationOneContinuesOnTheCard) {
    writer.configure("FileWriterLocation", 1);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_THAT(list_directory(card), ElementsAre(next_name));
}

TEST_F(ObjectFileWriterSettingsTest, LocationZeroContinuesUnderTmp) {
    writer.configure("FileWriterLocation", 0);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(ObjectFileWriterSettingsTest, AnyOtherLocationIsIgnored) {
    for (const int value : {2, -1}) writer.configure("FileWriterLocation", value);
    expect_untouched();
}

TEST_F(ObjectFileWriterSettingsTest, MaxFileCountIsTheKeptCount) {
    writer.configure("FileWriterMaxFileCount", 1);
    for (int i = 0; i < 4; ++i) {
        writer.restart();
        ++now.tv_sec;
    }
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093010_042.data", "radar_150525_093011_042"));
}

TEST_F(ObjectFileWriterSettingsTest, MaxFileSizeIsInBytes) {
    writer.configure("FileWriterMaxFileSize", 1);
    writer.write(frame);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(ObjectFileWriterSettingsTest, KeysThatAreNotItsOwnAreIgnored) {
    for (char const* key : {"DataFileWriterEnabled", "DataFileWriterFileTime",
                            "DataFileWriterLocation", "DataFileWriterMaxFileCount",
                            "DiagnosticFileWriterMaxFileSize", "filewriterenabled", ""}) {
        writer.configure(key, 0);
        writer.configure(key, 1);
    }
    writer.write(frame);
    expect_untouched();
}

}  // namespace
