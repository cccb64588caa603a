// The verb plot: its pictures.

#include <cairo.h>
#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>

#include "tests/tools/plot/fixture.h"

namespace {

using test_support::frame;
using test_support::kBegin;
using test_support::Outcome;
using test_support::recording;
using test_support::Target;
using testing::HasSubstr;
using tools_test::kRecording;
using tools_test::PlotTest;
using tools_test::xml_problem;

/** A picture in pixels. */
class Picture {
public:
    explicit Picture(std::string const& path)
        : surface_(cairo_image_surface_create_from_png(path.c_str())) {
        EXPECT_EQ(cairo_surface_status(surface_), CAIRO_STATUS_SUCCESS);
    }
    ~Picture() { cairo_surface_destroy(surface_); }
    Picture(Picture const&) = delete;
    Picture& operator=(Picture const&) = delete;

    int width() const { return cairo_image_surface_get_width(surface_); }
    int height() const { return cairo_image_surface_get_height(surface_); }

    /** How many pixels left of the colour bar are orange, and how many are blue. */
    std::pair<int, int> orange_and_blue() const {
        std::pair<int, int> count;
        for (int y = 0; y < height(); ++y) {
            unsigned char const* const row = cairo_image_surface_get_data(surface_) +
                                             y * cairo_image_surface_get_stride(surface_);
            for (int x = 0; x < width() - 150; ++x) {
                const int blue = row[4 * x];
                const int red = row[4 * x + 2];
                if (red > blue + 20) ++count.first;
                if (blue > red + 20) ++count.second;
            }
        }
        return count;
    }

private:
    cairo_surface_t* surface_;
};

class PlotViewTest : public PlotTest, public testing::WithParamInterface<char const*> {};

TEST_P(PlotViewTest, AnSvgIsWellFormed) {
    EXPECT_EQ(xml_problem(svg({"--view", GetParam()})), "");
}

TEST_P(PlotViewTest, AnSvgHasTheSizeThatWasAskedFor) {
    const std::string text = svg({"--view", GetParam(), "--size", "640x480"});
    EXPECT_THAT(text, testing::StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg "));
    EXPECT_THAT(text.substr(0, text.find("<title>")),
                HasSubstr(R"(width="640" height="480" viewBox="0 0 640 480">)"));
}

TEST_P(PlotViewTest, AnSvgIsOneDocumentWithTheDrawingNestedAndTheTextsAboveIt) {
    const std::string text = svg({"--view", GetParam()});
    EXPECT_EQ(text.rfind("<?xml"), 0U);
    EXPECT_LT(text.find("<title>"), text.rfind("<svg "));
    EXPECT_LT(text.rfind("<path "), text.find("<text "));
}

TEST_P(PlotViewTest, APngHasTheSizeThatWasAskedFor) {
    EXPECT_EQ(plot({"-o", "/tmp/p.png", "--view", GetParam(), "--size", "640x480"}).status, 0);
    EXPECT_EQ(Picture("/tmp/p.png").width(), 640);
    EXPECT_EQ(Picture("/tmp/p.png").height(), 480);
}

TEST_P(PlotViewTest, APdfIsWhole) {
    EXPECT_EQ(plot({"-o", "/tmp/p.pdf", "--view", GetParam()}).status, 0);
    const std::string pdf = test_support::read_file("/tmp/p.pdf");
    EXPECT_THAT(pdf, testing::StartsWith("%PDF-"));
    EXPECT_THAT(pdf, testing::EndsWith("%%EOF\n"));
}

TEST_P(PlotViewTest, TargetsAreColouredByTheirSpeed) {
    EXPECT_EQ(plot({"-o", "/tmp/p.png", "--view", GetParam()}).status, 0);
    const auto [orange, blue] = Picture("/tmp/p.png").orange_and_blue();
    EXPECT_GT(orange, 10);
    EXPECT_GT(blue, 10);
}

TEST_P(PlotViewTest, TheLegendTellsTheColours) {
    const std::string text = svg({"--view", GetParam()});
    EXPECT_THAT(text, HasSubstr(">radial speed (m/s)</text>"));
    EXPECT_THAT(text, HasSubstr(">approaching</text>"));
    EXPECT_THAT(text, HasSubstr(">receding</text>"));
    EXPECT_THAT(text, HasSubstr(">\u22122</text>"));
}

TEST_P(PlotViewTest, WithoutTargetsThePictureSaysSo) {
    test_support::write_file(kRecording, recording({frame(kBegin, {}), frame(kBegin + 1, {})}));
    EXPECT_THAT(svg({"--view", GetParam()}), HasSubstr(">no targets</text>"));
}

TEST_P(PlotViewTest, WithoutFramesThePictureSaysSo) {
    test_support::write_file(kRecording, recording({}));
    EXPECT_THAT(svg({"--view", GetParam()}), HasSubstr(">no frames</text>"));
}

TEST_P(PlotViewTest, WithOneTargetItIsWellFormed) {
    test_support::write_file(kRecording, recording({frame(kBegin, {{5, 0, 0}})}));
    EXPECT_EQ(xml_problem(svg({"--view", GetParam()})), "");
}

INSTANTIATE_TEST_SUITE_P(, PlotViewTest, testing::Values("plan", "range", "speed"),
                         [](auto const& tested) { return std::string(tested.param); });

TEST_F(PlotTest, TheTitleTellsNameTimeAndSize) {
    const std::string text = svg();
    EXPECT_THAT(text, HasSubstr(">Plan view: radar_150525_093007_042.data</text>"));
    EXPECT_THAT(text,
                HasSubstr(">2025-05-15 09:30:07.000 UTC, 50.0 ms, 2 frames, 2 targets</text>"));
    EXPECT_THAT(text, HasSubstr("<title>Plan view: radar_150525_093007_042.data</title>"));
}

TEST_F(PlotTest, APlanHasRingsAndBearings) {
    const std::string text = svg();
    EXPECT_THAT(text, HasSubstr(">6 m</text>"));
    EXPECT_THAT(text, HasSubstr(">\u221210\u00b0</text>"));
    EXPECT_THAT(text, HasSubstr(">+20\u00b0</text>"));
}

TEST_F(PlotTest, APlanIsAsWideAsItsTargetsNeed) {
    test_support::write_file(kRecording, recording({frame(kBegin, {{5, -2, 3.0F}})}));
    EXPECT_THAT(svg(), HasSubstr(">180\u00b0</text>"));
}

TEST_F(PlotTest, AChartNamesItsAxesAndTheirUnits) {
    const std::string text = svg({"--view", "range"});
    EXPECT_THAT(text, HasSubstr(">range (m)</text>"));
    EXPECT_THAT(text, HasSubstr(">time since the first frame (ms)</text>"));
}

TEST_F(PlotTest, TheNameIsEscaped) {
    std::filesystem::rename(kRecording, "/tmp/a<b>&c.data");
    const std::string text = svg({}, "/tmp/a<b>&c.data");
    EXPECT_EQ(xml_problem(text), "");
    EXPECT_THAT(text, HasSubstr("a&lt;b&gt;&amp;c.data"));
}

TEST_F(PlotTest, ANameThatIsNoTextIsShownAsFarAsItGoes) {
    std::filesystem::rename(kRecording, "/tmp/a\xff\n.data");
    const std::string text = svg({}, "/tmp/a\xff\n.data");
    EXPECT_EQ(xml_problem(text), "");
    EXPECT_THAT(text, HasSubstr("a??.data"));
}

TEST_F(PlotTest, ALongNameIsShortenedInTheMiddle) {
    const std::string name = "/tmp/begin" + std::string(200, 'x') + "end.data";
    std::filesystem::rename(kRecording, name);
    EXPECT_THAT(svg({}, name),
                testing::ContainsRegex(">Plan view: begin[x]+\u2026x*end.data</text>"));
}

TEST_F(PlotTest, OnlyTheSelectedFramesAreShown) {
    EXPECT_THAT(svg({"--frames", "1"}), HasSubstr(" UTC, 1 frame, 1 target</text>"));
    EXPECT_THAT(svg({"--start", "+10ms"}), HasSubstr(">2025-05-15 09:30:07.050 UTC"));
    EXPECT_THAT(svg({"--end", "+10ms"}), HasSubstr(" UTC, 1 frame, 1 target</text>"));
}

TEST_F(PlotTest, ATrailIsAsLongAsItIsToBe) {
    ASSERT_EQ(plot({"-o", "/tmp/p.png", "--trail", "0.01"}).status, 0);
    EXPECT_EQ(Picture("/tmp/p.png").orange_and_blue().first, 0);
}

TEST_F(PlotTest, WhatIsBeyondTheLargestRangeIsLeftOutAndSaid) {
    const Outcome outcome = plot({"-o", "/tmp/p.png", "--max-range", "5.5"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "petrelradar plot: 1 target beyond what the picture is to show\n");
    EXPECT_EQ(Picture("/tmp/p.png").orange_and_blue().second, 0);
}

TEST_F(PlotTest, TheLargestSpeedScalesTheColours) {
    EXPECT_THAT(svg({"--max-speed", "30"}), HasSubstr(">\u221230</text>"));
}

TEST_F(PlotTest, TargetsThatAreNoNumbersAreLeftOutAndReported) {
    const float nan = std::nanf("");
    test_support::write_file(
        kRecording,
        recording({frame(kBegin, {{nan, 0, 0}, {1, 1e30F, 0}, {-1, 0, 0}, {2, 1, 0}})}));
    const Outcome outcome = plot({"-o", "/tmp/p.svg"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("3 targets skipped: not a number"));
    EXPECT_EQ(xml_problem(test_support::read_file("/tmp/p.svg")), "");
}

TEST_F(PlotTest, ManyTargetsAreAnImageInsideTheSvg) {
    std::vector<std::string> frames;
    for (unsigned i = 0; i < 1200; ++i) {
        std::vector<Target> targets;
        for (int k = 0; k < 64; ++k) {
            targets.push_back({static_cast<float>(1 + (i * 7 + static_cast<unsigned>(k) * 13) % 97),
                               static_cast<float>(k - 32) / 8, static_cast<float>(k) / 64});
        }
        frames.push_back(frame(kBegin + i * 50000U, targets));
    }
    test_support::write_file(kRecording, recording(frames));
    const std::string text = svg();
    EXPECT_EQ(xml_problem(text), "");
    EXPECT_THAT(text, HasSubstr("<image "));
    EXPECT_THAT(text, HasSubstr("76\u202F800 targets"));
    EXPECT_LT(text.size(), 2000000U);
}

}  // namespace
