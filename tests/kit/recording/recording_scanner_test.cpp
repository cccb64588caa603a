#include "kit/recording/recording_scanner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "kit/input_error.h"
#include "kit/recording/recording_bytes.h"
#include "kit/recording/scan_items.h"
#include "support/private_paths.h"

namespace {

using Kit::RecordingScanner;
using std::string_literals::operator""s;
using test_support::frame;
using test_support::header;
using test_support::items;
using test_support::record;
using test_support::word;
using testing::ElementsAre;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

class RecordingScannerTest : public test_support::PrivatePathsTest {
protected:
    /** What a scan of a file with these bytes gives. */
    static std::vector<std::string> scan(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        return items(scanner);
    }

    /** The text of the first finding in these bytes. */
    static std::string text(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        RecordingScanner::Item item = scanner.next();
        while (item != RecordingScanner::Item::kFinding && item != RecordingScanner::Item::kEnd) {
            item = scanner.next();
        }
        return item == RecordingScanner::Item::kFinding ? scanner.finding().text : "none";
    }

    static void append(std::string const& bytes) {
        std::ofstream(kPath, std::ios::binary | std::ios::app) << bytes;
    }

    // A record without targets and with a timestamp below 128 has 8 + 7 bytes: three of them stand
    // at 40, 55 and 70 and end at 85.
    const std::string first = record(frame(1));
    const std::string second = record(frame(2));
    const std::string third = record(frame(3));
};

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

TEST_F(RecordingScannerTest, AnEmptyFileIsTold) {
    EXPECT_THAT(scan(""), ElementsAre("empty@0"));
    EXPECT_EQ(text(""), "empty");
}

TEST_F(RecordingScannerTest, AFileCutInItsHeaderIsTold) {
    EXPECT_THAT(scan(header(0).substr(0, 1)), ElementsAre("short-header@0", "skipped@0+1"));
    EXPECT_THAT(scan(header(0).substr(0, 39)), ElementsAre("short-header@0", "skipped@0+39"));
    EXPECT_EQ(text(header(0).substr(0, 39)), "cut off inside the header: 39 of 40 bytes");
}

TEST_F(RecordingScannerTest, SomethingElseIsTold) {
    EXPECT_THAT(scan("#!/bin/sh\n"), ElementsAre("not-a-recording@0", "skipped@0+10"));
    EXPECT_EQ(text("#!/bin/sh\n"), "not a recording: 0x622F2123 in place of 0xBADABADA");
}

TEST_F(RecordingScannerTest, RecordsBehindADamagedMagicAreFound) {
    EXPECT_THAT(scan("xxxx" + header(2).substr(4) + first + second),
                ElementsAre("not-a-recording@0", "skipped@0+40", "record@40", "record@55"));
}

TEST_F(RecordingScannerTest, AnUnknownVersionIsTold) {
    EXPECT_THAT(scan(word(0xBADABADA) + word(6) + header(1).substr(8) + first),
                ElementsAre("unknown-version@0", "skipped@0+40", "record@40"));
    EXPECT_EQ(text(word(0xBADABADA) + word(6) + header(1).substr(8)),
              "format version 6 in place of 5");
}

TEST_F(RecordingScannerTest, RawDataIsTold) {
    EXPECT_THAT(scan(header(1) + "raw data of a radar"),
                ElementsAre("header", "raw-data@40", "skipped@40+19"));
    EXPECT_EQ(text(header(1) + "raw data of a radar"),
              "no record behind the header, 0x20776172 is no tag: raw data, or damage");
}

TEST_F(RecordingScannerTest, ADamagedTagCostsItsRecord) {
    const std::string damaged = word(0x0EED0007) + second.substr(4);
    EXPECT_THAT(scan(header(3) + first + damaged + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
    EXPECT_EQ(text(header(3) + first + first + damaged),
              "no record: tag 0x0EED0007 in place of 0xFEED0007");
}

TEST_F(RecordingScannerTest, ARecordOfAnotherRecorderCountsAsDamage) {
    EXPECT_THAT(scan(header(3) + first + second + record(frame(9), 0xFEED0008) + third),
                ElementsAre("header", "record@40", "record@55", "wrong-tag@70", "skipped@70+15",
                            "record@85"));
}

TEST_F(RecordingScannerTest, AWrongTagOfTheFirstRecordCostsNoOther) {
    EXPECT_THAT(scan(header(3) + record(frame(1), 0xFEED0006) + second + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "record@55", "record@70"));
}

TEST_F(RecordingScannerTest, ALengthBeyondTheLargestRecordIsTold) {
    for (const std::uint32_t length : {0x01000001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "too-long@55", "skipped@55+15", "record@70",
                                "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerTest, ALengthBeyondTheEndIsTold) {
    EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(1000) + frame(2) + third),
                ElementsAre("header", "record@40", "cut-short@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
}

TEST_F(RecordingScannerTest, ALengthThatIsOneOffCostsItsRecord) {
    for (const std::uint32_t length : {0u, 1u, 6u, 8u, 21u, 22u}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "undecodable@55", "skipped@55+15",
                                "record@70", "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerTest, EveryCutOfARecordIsTold) {
    for (std::size_t size = 1; size < third.size(); ++size) {
        EXPECT_THAT(scan(header(3) + first + second + third.substr(0, size)),
                    ElementsAre("header", "record@40", "record@55", "cut-short@70",
                                "skipped@70+" + std::to_string(size), "frame-count@36"));
    }
}

TEST_F(RecordingScannerTest, ACutSaysHowMuchIsThere) {
    EXPECT_EQ(text(header(1) + first.substr(0, 12)), "cut off inside a record: 12 of 15 bytes");
    EXPECT_EQ(text(header(1) + first.substr(0, 3)), "cut off inside a record: 3 bytes");
}

TEST_F(RecordingScannerTest, ATailOfZerosIsTold) {
    EXPECT_THAT(scan(header(1) + first + std::string(1000, '\0')),
                ElementsAre("header", "record@40", "zeros@55", "skipped@55+1000"));
}

TEST_F(RecordingScannerTest, TwoRecordingsThatWereJoinedAreTold) {
    EXPECT_THAT(scan(header(1) + first + header(1) + record(frame(2), 0xFEED0008)),
                ElementsAre("header", "record@40", "second-header@55", "header", "record@95"));
}

TEST_F(RecordingScannerTest, ACutRecordingThatWasJoinedWithAnotherCostsTheCutRecord) {
    EXPECT_THAT(scan(header(2) + first + second.substr(0, 10) + header(1) + third),
                ElementsAre("header", "record@40", "undecodable@55", "skipped@55+10",
                            "frame-count@36", "second-header@65", "header", "record@105"));
}

TEST_F(RecordingScannerTest, ACountThatDiffersIsTold) {
    for (const std::uint32_t count : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(count) + first + second),
                    ElementsAre("header", "record@40", "record@55", "frame-count@36"));
    }
    EXPECT_EQ(text(header(3) + first), "the header counts 3 frames, 1 were found");
}

TEST_F(RecordingScannerTest, AFrameWithAnotherMagicIsToldAndRead) {
    const std::string other = record("\x08\x05\x10\x02"s);
    EXPECT_THAT(scan(header(3) + first + other + third),
                ElementsAre("header", "record@40", "foreign-frame@55", "record@55", "record@67"));
    EXPECT_EQ(text(header(1) + other), "frame with magic 5 in place of 29061378");
}

TEST_F(RecordingScannerTest, AnEmptyPayloadIsReadWhereARecordFollows) {
    EXPECT_THAT(scan(header(2) + record("") + second),
                ElementsAre("header", "foreign-frame@40", "record@40", "record@48"));
}

TEST_F(RecordingScannerTest, TheLargestRecordIsRead) {
    std::string payload = frame(1);
    const std::size_t filling = Kit::kLargestPayload - payload.size() - 5;
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
    for (int i = 0; i < 400; ++i) bytes += record(frame(static_cast<std::uint64_t>(i), i % 300));
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
