// What a scan tells of files that are damaged, and what it finds in them all the same.

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

class RecordingScannerDamageTest : public recording_test::RecordingScannerTest {};

TEST_F(RecordingScannerDamageTest, AnEmptyFileIsTold) {
    EXPECT_THAT(scan(""), ElementsAre("empty@0"));
    EXPECT_EQ(text(""), "empty");
}

TEST_F(RecordingScannerDamageTest, AFileCutInItsHeaderIsTold) {
    EXPECT_THAT(scan(header(0).substr(0, 1)), ElementsAre("short-header@0", "skipped@0+1"));
    EXPECT_THAT(scan(header(0).substr(0, 39)), ElementsAre("short-header@0", "skipped@0+39"));
    EXPECT_EQ(text(header(0).substr(0, 39)), "cut off inside the header: 39 of 40 bytes");
}

TEST_F(RecordingScannerDamageTest, SomethingElseIsTold) {
    EXPECT_THAT(scan("#!/bin/sh\n"), ElementsAre("not-a-recording@0", "skipped@0+10"));
    EXPECT_EQ(text("#!/bin/sh\n"), "not a recording: 0x622F2123 in place of 0xBADABADA");
}

TEST_F(RecordingScannerDamageTest, RecordsBehindADamagedMagicAreFound) {
    EXPECT_THAT(scan("xxxx" + header(2).substr(4) + first + second),
                ElementsAre("not-a-recording@0", "skipped@0+40", "record@40", "record@55"));
}

TEST_F(RecordingScannerDamageTest, AnUnknownVersionIsTold) {
    EXPECT_THAT(scan(word(0xBADABADA) + word(6) + header(1).substr(8) + first),
                ElementsAre("unknown-version@0", "skipped@0+40", "record@40"));
    EXPECT_EQ(text(word(0xBADABADA) + word(6) + header(1).substr(8)),
              "format version 6 in place of 5");
}

TEST_F(RecordingScannerDamageTest, RawDataIsTold) {
    EXPECT_THAT(scan(header(1) + "raw data of a radar"),
                ElementsAre("header", "raw-data@40", "skipped@40+19"));
    EXPECT_EQ(text(header(1) + "raw data of a radar"),
              "no record after the header, 0x20776172 is not a tag: raw data, or damage");
}

TEST_F(RecordingScannerDamageTest, ADamagedTagCostsItsRecord) {
    const std::string damaged = word(0x0EED0007) + second.substr(4);
    EXPECT_THAT(scan(header(3) + first + damaged + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
    EXPECT_EQ(text(header(3) + first + first + damaged),
              "no record: tag 0x0EED0007 in place of 0xFEED0007");
}

TEST_F(RecordingScannerDamageTest, ARecordOfAnotherRecorderCountsAsDamage) {
    EXPECT_THAT(scan(header(3) + first + second + record(frame(9), 0xFEED0008) + third),
                ElementsAre("header", "record@40", "record@55", "wrong-tag@70", "skipped@70+15",
                            "record@85"));
}

TEST_F(RecordingScannerDamageTest, AWrongTagOfTheFirstRecordCostsNoOther) {
    EXPECT_THAT(scan(header(3) + record(frame(1), 0xFEED0006) + second + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "record@55", "record@70"));
}

TEST_F(RecordingScannerDamageTest, ALengthBeyondTheLargestRecordIsTold) {
    for (const uint32_t length : {0x01000001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "too-long@55", "skipped@55+15", "record@70",
                                "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerDamageTest, ALengthBeyondTheEndIsTold) {
    EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(1000) + frame(2) + third),
                ElementsAre("header", "record@40", "cut-short@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
}

TEST_F(RecordingScannerDamageTest, ALengthThatIsOneOffCostsItsRecord) {
    for (const uint32_t length : {0u, 1u, 6u, 8u, 21u, 22u}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "undecodable@55", "skipped@55+15",
                                "record@70", "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerDamageTest, EveryCutOfARecordIsTold) {
    for (size_t size = 1; size < third.size(); ++size) {
        EXPECT_THAT(scan(header(3) + first + second + third.substr(0, size)),
                    ElementsAre("header", "record@40", "record@55", "cut-short@70",
                                "skipped@70+" + std::to_string(size), "frame-count@36"));
    }
}

TEST_F(RecordingScannerDamageTest, ACutSaysHowMuchIsThere) {
    EXPECT_EQ(text(header(1) + first.substr(0, 12)), "cut off inside a record: 12 of 15 bytes");
    EXPECT_EQ(text(header(1) + first.substr(0, 3)), "cut off inside a record: 3 bytes");
}

TEST_F(RecordingScannerDamageTest, ATailOfZerosIsTold) {
    EXPECT_THAT(scan(header(1) + first + std::string(1000, '\0')),
                ElementsAre("header", "record@40", "zeros@55", "skipped@55+1000"));
}

TEST_F(RecordingScannerDamageTest, TwoRecordingsThatWereJoinedAreTold) {
    EXPECT_THAT(scan(header(1) + first + header(1) + record(frame(2), 0xFEED0008)),
                ElementsAre("header", "record@40", "second-header@55", "header", "record@95"));
}

TEST_F(RecordingScannerDamageTest, ACutRecordingThatWasJoinedWithAnotherCostsTheCutRecord) {
    EXPECT_THAT(scan(header(2) + first + second.substr(0, 10) + header(1) + third),
                ElementsAre("header", "record@40", "undecodable@55", "skipped@55+10",
                            "frame-count@36", "second-header@65", "header", "record@105"));
}

TEST_F(RecordingScannerDamageTest, ACountThatDiffersIsTold) {
    for (const uint32_t count : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(count) + first + second),
                    ElementsAre("header", "record@40", "record@55", "frame-count@36"));
    }
    EXPECT_EQ(text(header(3) + first), "the header counts 3 frames, 1 were found");
}

TEST_F(RecordingScannerDamageTest, AFrameWithAnotherMagicIsToldAndRead) {
    const std::string other = record("\x08\x05\x10\x02"s);
    EXPECT_THAT(scan(header(3) + first + other + third),
                ElementsAre("header", "record@40", "foreign-frame@55", "record@55", "record@67"));
    EXPECT_EQ(text(header(1) + other), "frame with magic 5 in place of 29061378");
}

}  // namespace
