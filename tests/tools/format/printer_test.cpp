#include "tools/format/printer.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <limits>

#include "tests/support/page.h"

namespace {

using Tools::FrameFormat;

class FramePrinterTest : public testing::Test {
protected:
    FramePrinterTest() {
        EXPECT_EQ(pipe(ends), 0);
        frame.set_magic(29061378);
        frame.set_timestamp(1561758000123456);
        target = frame.add_targets();
        target->set_rcs(-3.5F);
        target->set_r(2.25F);
        target->set_rdot(-0.5F);
        target->set_theta(0.125F);
        target->set_snr(20.0F);
    }
    ~FramePrinterTest() override {
        for (const int end : ends) close(end);
    }

    /** What is printed for these frames. */
    std::string printed(FrameFormat format, std::vector<RO::RadarObjects> const& frames) {
        Tools::Output out(ends[1]);
        Tools::FramePrinter printer(format, out);
        printer.begin();
        for (auto const& each : frames) printer.print(each);
        out.flush();
        std::string text(65536, '\0');
        EXPECT_EQ(write(ends[1], "\0", 1), 1);  // so that there is something to read
        text.resize(static_cast<size_t>(read(ends[0], text.data(), text.size())) - 1);
        return text;
    }

    /** What the page shows for the frame of this test. */
    static std::string documented(std::string const& kind) {
        return test_support::code_block("frame-output.md", kind);
    }

    int ends[2] = {-1, -1};
    RO::RadarObjects frame;
    RO::TargetData* target = nullptr;
    const RO::RadarObjects empty;
};

TEST_F(FramePrinterTest, LinesAreAsDocumented) {
    EXPECT_EQ(printed(FrameFormat::kLines, {frame}), documented("lines"));
}

TEST_F(FramePrinterTest, TextIsAsDocumented) {
    EXPECT_EQ(printed(FrameFormat::kText, {frame}), documented("text"));
}

TEST_F(FramePrinterTest, NdjsonIsAsDocumented) {
    EXPECT_EQ(printed(FrameFormat::kNdjson, {frame}), documented("json"));
}

TEST_F(FramePrinterTest, CsvIsAsDocumented) {
    EXPECT_EQ(printed(FrameFormat::kCsv, {frame}), documented("csv"));
}

TEST_F(FramePrinterTest, FramesAreNumberedFromZero) {
    EXPECT_EQ(printed(FrameFormat::kLines, {empty, empty}),
              "frame 0  timestamp 0  0 targets\nframe 1  timestamp 0  0 targets\n");
}

TEST_F(FramePrinterTest, ALineNamesTheNearestAndTheFastestTarget) {
    frame.add_targets()->set_r(1.0F);
    frame.add_targets()->set_rdot(-7.0F);
    frame.mutable_targets(2)->set_r(9.0F);
    EXPECT_THAT(printed(FrameFormat::kLines, {frame}),
                testing::EndsWith("3 targets  nearest 1.00 m  fastest -7.00 m/s\n"));
}

TEST_F(FramePrinterTest, ABlankLineStandsBetweenTexts) {
    EXPECT_EQ(printed(FrameFormat::kText, {frame, frame}),
              documented("text") + "\n" + documented("text"));
}

TEST_F(FramePrinterTest, ZeroFieldsAreInTheJson) {
    RO::RadarObjects zero;
    zero.add_targets();
    EXPECT_EQ(printed(FrameFormat::kNdjson, {zero}),
              "{\"magic\":0,\"timestamp\":\"0\",\"targets\":[{\"rcs\":0,\"r\":0,\"rdot\":0,"
              "\"theta\":0,\"options\":0,\"snr\":0}]}\n");
}

TEST_F(FramePrinterTest, AFrameWithoutTargetsHasAnEmptyArray) {
    EXPECT_EQ(printed(FrameFormat::kNdjson, {empty}),
              "{\"magic\":0,\"timestamp\":\"0\",\"targets\":[]}\n");
}

TEST_F(FramePrinterTest, WhatIsNoNumberIsAWordInJson) {
    target->set_r(std::numeric_limits<float>::quiet_NaN());
    target->set_rdot(-std::numeric_limits<float>::infinity());
    EXPECT_THAT(printed(FrameFormat::kNdjson, {frame}),
                testing::HasSubstr("\"r\":\"NaN\",\"rdot\":\"-Infinity\""));
}

TEST_F(FramePrinterTest, TheCsvHeaderIsPrintedOnce) {
    const std::string text = printed(FrameFormat::kCsv, {frame, frame});
    EXPECT_EQ(text.find("frame_index"), 0U);
    EXPECT_EQ(text.rfind("frame_index"), 0U);
}

TEST_F(FramePrinterTest, AFrameWithoutTargetsIsAGapInTheCsv) {
    const std::string text = printed(FrameFormat::kCsv, {empty, frame});
    EXPECT_THAT(text, testing::EndsWith("\n1,1561758000123456,-3.5,2.25,-0.5,0.125,0,20\n"));
}

TEST_F(FramePrinterTest, TheLargestIntegersArePrintedInFull) {
    frame.set_timestamp(18446744073709551615U);
    target->set_options(4294967295U);
    EXPECT_THAT(printed(FrameFormat::kCsv, {frame}),
                testing::EndsWith("\n0,18446744073709551615,-3.5,2.25,-0.5,0.125,4294967295,20\n"));
}

TEST(ExactTextTest, EveryFloatReadsBackAsItself) {
    for (uint32_t bits = 0; bits < 0xFF000000U; bits += 0x00012347U) {
        float value = 0;
        static_assert(sizeof(value) == sizeof(bits), "a float has 4 bytes");
        std::memcpy(&value, &bits, sizeof(value));
        if (std::isnan(value)) continue;
        ASSERT_EQ(std::strtof(Tools::exact_text(value).c_str(), nullptr), value) << bits;
    }
}

TEST(ExactTextTest, TheTextIsTheShortest) {
    EXPECT_EQ(Tools::exact_text(0.1F), "0.1");
    EXPECT_EQ(Tools::exact_text(-0.0F), "-0");
    EXPECT_EQ(Tools::exact_text(std::numeric_limits<float>::infinity()), "inf");
}

}  // namespace
