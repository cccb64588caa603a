#include "kit/recording/scanner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kit/base/input_error.h"
#include "tests/kit/recording/scanner_fixture.h"

namespace {

using Kit::RecordingScanner;
using recording_test::kPath;
using std::string_literals::operator""s;
using test_support::frame;
using test_support::header;
using test_support::items;
using test_support::record;
using test_support::word;
using testing::ElementsAre;

class RecordingScannerTest : public recording_test::RecordingScannerTest {};

TEST_F(RecordingScannerTest, AHeaderIsTold) {
    test_support::write_file(kPath, word(0xBADABADA) + word(5) + word(0xFFFFFFFF) + word(1) +
                                        "\0\0\0\0\0\0\x06\x40\0\0\0\0\0\0\xE0\xBF"s + word(2) +
                                        word(0));
    RecordingScanner scanner(kPath);
    ASSERT_EQ(scanner.next(), RecordingScanner::Item::kHeader);
    EXPECT_EQ(scanner.header().seconds, -1);
    EXPECT_EQ(scanner.header().daylight_saving, 1);
    EXPECT_EQ(scanner.header().height, 2.75);
    EXPECT_EQ(scanner.header().tilt, -0.5);
    EXPECT_EQ(scanner.header().sensitivity, 2);
    EXPECT_EQ(scanner.header().frame_count, 0u);
}

TEST_F(RecordingScannerTest, ARecordIsTold) {
    test_support::write_file(kPath, header(1) + record(frame(1000, 3)));
    RecordingScanner scanner(kPath);
    scanner.next();
    ASSERT_EQ(scanner.next(), RecordingScanner::Item::kRecord);
    EXPECT_EQ(scanner.record().offset, 40u);
    EXPECT_EQ(scanner.record().tag, 0xFEED0007u);
    EXPECT_EQ(scanner.record().payload, frame(1000, 3));
    EXPECT_EQ(scanner.record().frame.timestamp, 1000u);
    EXPECT_EQ(scanner.record().frame.targets, 3u);
}

TEST_F(RecordingScannerTest, AnUndamagedFileHasNoFindings) {
    EXPECT_THAT(scan(header(3) + first + second + third),
                ElementsAre("header", "record@40", "record@55", "record@70"));
}

TEST_F(RecordingScannerTest, AHeaderAloneIsARecordingWithoutFrames) {
    EXPECT_THAT(scan(header(0)), ElementsAre("header"));
}

TEST_F(RecordingScannerTest, NothingComesAfterTheEnd) {
    test_support::write_file(kPath, header(0));
    RecordingScanner scanner(kPath);
    items(scanner);
    EXPECT_EQ(scanner.next(), RecordingScanner::Item::kEnd);
}

TEST_F(RecordingScannerTest, AnEmptyPayloadIsReadWhereARecordFollows) {
    EXPECT_THAT(scan(header(2) + record("") + second),
                ElementsAre("header", "foreign-frame@40", "record@40", "record@48"));
}

TEST_F(RecordingScannerTest, TheLargestRecordIsRead) {
    std::string payload = frame(1);
    const size_t filling = Kit::kLargestPayload - payload.size() - 5;
    payload += "\x7A\x80\x80\x80\x08"s + std::string(filling, 'x');
    payload[payload.size() - filling - 4] = static_cast<char>(0x80 | (filling & 0x7F));
    payload[payload.size() - filling - 3] = static_cast<char>(0x80 | (filling >> 7 & 0x7F));
    payload[payload.size() - filling - 2] = static_cast<char>(0x80 | (filling >> 14 & 0x7F));
    payload[payload.size() - filling - 1] = static_cast<char>(filling >> 21);
    ASSERT_EQ(payload.size(), Kit::kLargestPayload);
    EXPECT_THAT(scan(header(2) + record(payload) + second),
                ElementsAre("header", "record@40", "record@16777264"));
}

TEST_F(RecordingScannerTest, RecordsThatLieAcrossBlocksAreRead) {
    std::string bytes = header(400);
    for (int i = 0; i < 400; ++i) bytes += record(frame(static_cast<uint64_t>(i), i % 300));
    ASSERT_GT(bytes.size(), Kit::BlockReader::kBlockSize);
    EXPECT_EQ(scan(bytes).size(), 401u);
}

TEST_F(RecordingScannerTest, AGrowingFileEndsAtItsLastWholeRecord) {
    test_support::write_file(kPath, header(0) + first + second.substr(0, 11));
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40"));
    append(second.substr(11) + third.substr(0, 2));
    EXPECT_THAT(items(scanner), ElementsAre("record@55"));
    append(third.substr(2));
    EXPECT_THAT(items(scanner), ElementsAre("record@70"));
}

TEST_F(RecordingScannerTest, AGrowingFileMayLackItsHeader) {
    test_support::write_file(kPath, "");
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre());
    append(header(0).substr(0, 20));
    EXPECT_THAT(items(scanner), ElementsAre());
    append(header(0).substr(20) + first);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40"));
}

TEST_F(RecordingScannerTest, AFileThatIsTruncatedMeanwhileIsCutThere) {
    std::string bytes = header(40000);
    for (int i = 0; i < 40000; ++i) bytes += first;
    test_support::write_file(kPath, bytes);
    RecordingScanner scanner(kPath);
    scanner.next();
    scanner.next();
    ASSERT_EQ(truncate(kPath, 300'000), 0);
    EXPECT_THAT(items(scanner).back(), "frame-count@36");
    EXPECT_LE(scanner.offset(), 300'000u);
}

TEST_F(RecordingScannerTest, APipeIsScannedAsAFileIs) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const std::string bytes = header(2) + first + "damage" + second;
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    RecordingScanner scanner("/dev/fd/" + std::to_string(ends[0]));
    EXPECT_THAT(items(scanner),
                ElementsAre("header", "record@40", "wrong-tag@55", "skipped@55+6", "record@61"));
    close(ends[0]);
}

TEST_F(RecordingScannerTest, TheGoldenRecordingIsUndamaged) {
    RecordingScanner scanner(PETRELRADAR_SOURCE_DIR "/tests/data/object_recording.data");
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40", "record@53", "record@104"));
    EXPECT_EQ(scanner.header().tilt, -12.5);
    EXPECT_EQ(scanner.record().frame.timestamp, 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(scanner.record().frame.targets, 1u);
}

TEST_F(RecordingScannerTest, TheGoldenRawDataIsTold) {
    RecordingScanner scanner(PETRELRADAR_SOURCE_DIR "/tests/data/raw_recording.data");
    EXPECT_THAT(items(scanner), ElementsAre("header", "raw-data@40", "skipped@40+304"));
}

TEST_F(RecordingScannerTest, ADeviceIsRefused) {
    EXPECT_THAT([] { RecordingScanner scanner("/dev/zero"); },
                testing::ThrowsMessage<Kit::InputError>("/dev/zero: Is a device"));
}

TEST_F(RecordingScannerTest, ADirectoryIsRefused) {
    EXPECT_THAT([] { RecordingScanner scanner("/tmp"); },
                testing::ThrowsMessage<Kit::InputError>("/tmp: Is a directory"));
}

TEST_F(RecordingScannerTest, ADanglingLinkIsRefused) {
    ASSERT_EQ(symlink("/tmp/nowhere", "/tmp/dangling"), 0);
    EXPECT_THAT(
        [] { RecordingScanner scanner("/tmp/dangling"); },
        testing::ThrowsMessage<Kit::InputError>("/tmp/dangling: No such file or directory"));
}

}  // namespace
