// The verb cat.

#include <gmock/gmock.h>

#include "tests/tools/inspect/cat_fixture.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::kBegin;
using test_support::Outcome;
using test_support::recording;
using test_support::write_file;
using testing::HasSubstr;
using testing::StartsWith;
using tools_test::CatTest;
using tools_test::kRecording;

TEST_F(CatTest, TextIsTheDebugText) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}}), frame(kBegin + 1, {})}));
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "magic: 29061378\ntimestamp: 1747301407000000\ntargets {\n  r: 2.5\n  rdot: -0.5\n}\n"
              "\nmagic: 29061378\ntimestamp: 1747301407000001\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CatTest, NdjsonIsAnObjectAFrame) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}}), frame(kBegin + 1, {})}));
    EXPECT_EQ(cat({"--format", "ndjson"}).out,
              "{\"magic\":29061378,\"timestamp\":\"1747301407000000\",\"targets\":[{\"rcs\":0,"
              "\"r\":2.5,\"rdot\":-0.5,\"theta\":0,\"options\":0,\"snr\":0}]}\n"
              "{\"magic\":29061378,\"timestamp\":\"1747301407000001\",\"targets\":[]}\n");
}

TEST_F(CatTest, CsvIsARowATargetAndNumbersFramesWithoutOne) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}, {3, 0, 0}}),
                                      frame(kBegin + 1, {}), frame(kBegin + 2, {{4, 0, 0}})}));
    EXPECT_EQ(cat({"--format", "csv"}).out,
              "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n"
              "0,1747301407000000,0,2.5,-0.5,0,0,0\n"
              "0,1747301407000000,0,3,0,0,0,0\n"
              "2,1747301407000002,0,4,0,0,0,0\n");
}

TEST_F(CatTest, ARecordingWithoutFramesIsNoText) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(CatTest, ARecordingWithoutFramesIsTheHeaderOfACsv) {
    write_file(kRecording, header(0));
    EXPECT_EQ(cat({"--format", "csv", "--fields", "r"}).out, "r\n");
}

TEST_F(CatTest, FieldsAreThoseThatWereAskedFor) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}})}));
    EXPECT_EQ(cat({"--format", "csv", "--fields", "r,rdot"}).out, "r,rdot\n2.5,-0.5\n");
    EXPECT_EQ(cat({"--format", "ndjson", "--fields", "timestamp,r"}).out,
              "{\"timestamp\":\"1747301407000000\",\"targets\":[{\"r\":2.5}]}\n");
}

TEST_F(CatTest, AnUnknownFieldIsRefused) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({"--fields", "speed"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("speed"));
}

TEST_F(CatTest, AStartIsIncludedAndAnEndIsNot) {
    EXPECT_EQ(selected({"--start", "+200ms", "--end", "+500ms"}), "200 300 400");
}

TEST_F(CatTest, TimesCountFromTheFirstAndFromTheLastFrame) {
    EXPECT_EQ(selected({"--start", "-200ms"}), "700 800 900");
    EXPECT_EQ(selected({"--end", "-700ms"}), "0 100");
    EXPECT_EQ(selected({"--start", "+0.1s", "--end", "-0.7s"}), "100");
}

TEST_F(CatTest, TimesAreDatesToo) {
    EXPECT_EQ(selected({"--start", "2025-05-15T09:30:07.75Z"}), "800 900");
    EXPECT_EQ(selected({"--end", "2025-05-15T11:30:07.2+02:00"}), "0 100");
}

TEST_F(CatTest, TimesAreSecondsAndMicrosecondsToo) {
    EXPECT_EQ(selected({"--start", "1747301407.8"}), "800 900");
    EXPECT_EQ(selected({"--start", "1747301407800001"}), "900");
}

TEST_F(CatTest, FramesAreCountedFromZero) {
    EXPECT_EQ(selected({"--frames", "2-4"}), "200 300 400");
    EXPECT_EQ(selected({"--frames", "8-"}), "800 900");
    EXPECT_EQ(selected({"--frames=-1"}), "0 100");
    EXPECT_EQ(selected({"--frames", "3"}), "300");
}

TEST_F(CatTest, FramesAndTimesAreBothToHold) {
    EXPECT_EQ(selected({"--frames", "2-4", "--start", "+350ms"}), "400");
}

TEST_F(CatTest, NothingSelectedIsNothingPrinted) {
    EXPECT_EQ(selected({"--start", "2030-01-01T00:00:00Z"}), "");
}

TEST_F(CatTest, WhatIsNoTimeIsRefused) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({"--start", "yesterday"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, StartsWith("petrelradar cat: --start yesterday: no time"));
}

}  // namespace
