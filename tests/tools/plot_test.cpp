// The verb plot.

#include <cairo.h>
#include <glib.h>
#include <gmock/gmock.h>

#include <cmath>
#include <csignal>
#include <filesystem>

#include "kit/stream/frames.h"
#include "kit/stream/relay.h"
#include "program.h"
#include "recorded_frames.h"
#include "support/private_paths.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using tools_test::frame;
using tools_test::kBegin;
using tools_test::Outcome;
using tools_test::recording;
using tools_test::run;
using tools_test::Target;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";

/** A picture in pixels. */
class Picture {
public:
    explicit Picture(std::string const& path)
        : surface(cairo_image_surface_create_from_png(path.c_str())) {
        EXPECT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
    }
    ~Picture() { cairo_surface_destroy(surface); }
    Picture(Picture const&) = delete;
    Picture& operator=(Picture const&) = delete;

    int width() const { return cairo_image_surface_get_width(surface); }
    int height() const { return cairo_image_surface_get_height(surface); }

    /** How many pixels left of the colour bar are orange, and how many are blue. */
    std::pair<int, int> orange_and_blue() const {
        std::pair<int, int> count;
        for (int y = 0; y < height(); ++y) {
            unsigned char const* const row =
                cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
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
    cairo_surface_t* surface;
};

/** Why a text is no well-formed XML; empty when it is. */
std::string xml_problem(std::string const& text) {
    GMarkupParser parser = {};
    GMarkupParseContext* const context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags(0), nullptr, nullptr);
    GError* error = nullptr;
    std::string problem;
    if (g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()),
                                     &error) == FALSE ||
        g_markup_parse_context_end_parse(context, &error) == FALSE) {
        problem = error->message;
        g_error_free(error);
    }
    g_markup_parse_context_free(context);
    return problem;
}

class PlotTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file(kRecording, recording({frame(kBegin, {{5, -2, -0.3F}}),
                                                        frame(kBegin + 50000, {{6, 1, 0.3F}})}));
    }

    static Outcome plot(std::vector<std::string> const& options,
                        std::string const& source = kRecording) {
        std::vector<std::string> arguments = {"plot", source};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    /** The SVG of a recording. */
    static std::string svg(std::vector<std::string> options = {},
                           std::string const& source = kRecording) {
        options.insert(options.end(), {"-o", "/tmp/plot.svg", "--force"});
        const Outcome outcome = plot(options, source);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return test_support::read_file("/tmp/plot.svg");
    }
};

class PlotViewTest : public PlotTest, public testing::WithParamInterface<char const*> {};

TEST_P(PlotViewTest, AnSvgIsWellFormed) {
    EXPECT_EQ(xml_problem(svg({"--view", GetParam()})), "");
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
    EXPECT_THAT(outcome.err, HasSubstr("3 targets left out: not a number"));
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

TEST_F(PlotTest, ADirectoryIsOneRecording) {
    std::filesystem::create_directory("/tmp/a");
    std::filesystem::rename(kRecording, "/tmp/a/radar_150525_093007_042.data");
    test_support::write_file("/tmp/a/radar_150525_093007_900",
                             recording({frame(kBegin + 900000, {{3, 1, 0}})}));
    EXPECT_THAT(svg({}, "/tmp/a/"), testing::AllOf(HasSubstr(">Plan view: a</text>"),
                                                   HasSubstr("900.0 ms, 3 frames, 3 targets")));
}

TEST_F(PlotTest, StandardInputIsRead) {
    const std::string command =
        std::string(PETRELRADAR_PROGRAM) + " plot - -o /tmp/p.svg < " + kRecording;
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
    EXPECT_THAT(test_support::read_file("/tmp/p.svg"),
                HasSubstr(">Plan view: standard input</text>"));
}

TEST_F(PlotTest, ALiveStreamIsDrawnWhenTheSelectionEnds) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    tools_test::Program program(
        {"plot", "unix:/tmp/radar.sock", "-o", "/tmp/p.svg", "--frames", "0"});
    ASSERT_TRUE(stream_test::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin, {{3, 1, 0}})));
    relay.publish(Kit::stream_frame(frame(kBegin + 1, {{3, 1, 0}})));
    EXPECT_EQ(program.finish().status, 0);
    EXPECT_THAT(test_support::read_file("/tmp/p.svg"), HasSubstr(" 1 target</text>"));
}

TEST_F(PlotTest, ALiveStreamIsDrawnWhenThePersonEndsIt) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    tools_test::Program program({"plot", "unix:/tmp/radar.sock", "-o", "/tmp/p.svg"});
    ASSERT_TRUE(stream_test::eventually([&] { return !relay.counters().clients.empty(); }));
    program.send_signal(SIGINT);
    EXPECT_EQ(program.finish().status, 0);
    EXPECT_EQ(xml_problem(test_support::read_file("/tmp/p.svg")), "");
}

TEST_F(PlotTest, DamageIsReportedAndTheRestDrawn) {
    const std::string whole = test_support::read_file(kRecording);
    test_support::write_file(kRecording, whole.substr(0, whole.size() - 3));
    const Outcome outcome = plot({"-o", "/tmp/p.svg"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("cut off inside a record"));
    EXPECT_THAT(test_support::read_file("/tmp/p.svg"), HasSubstr("1 frame, 1 target"));
}

TEST_F(PlotTest, AFileThatIsThereIsNotReplaced) {
    test_support::write_file("/tmp/p.svg", "precious");
    const Outcome outcome = plot({"-o", "/tmp/p.svg"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "petrelradar plot: /tmp/p.svg: is there; --force replaces it\n");
    EXPECT_EQ(test_support::read_file("/tmp/p.svg"), "precious");
}

TEST_F(PlotTest, TheInputIsNotReplacedEvenWithForce) {
    std::filesystem::rename(kRecording, "/tmp/odd.svg");
    const std::string before = test_support::read_file("/tmp/odd.svg");
    EXPECT_EQ(plot({"-o", "/tmp/odd.svg", "--force"}, "/tmp/odd.svg").status, 1);
    EXPECT_EQ(test_support::read_file("/tmp/odd.svg"), before);
}

TEST_F(PlotTest, AMissingInputLeavesNoOutput) {
    EXPECT_EQ(plot({"-o", "/tmp/p.svg"}, "/tmp/missing.data").status, 1);
    EXPECT_EQ(test_support::list_directory("/tmp").size(), 1U);
}

TEST_F(PlotTest, SameInputSamePicture) {
    EXPECT_EQ(svg(), svg());
}

struct UsageCase {
    char const* name;
    std::vector<std::string> options;
    char const* err_begins;
};

std::ostream& operator<<(std::ostream& os, UsageCase const& tested) {
    return os << tested.name;
}

class PlotUsageTest : public PlotTest, public testing::WithParamInterface<UsageCase> {};

TEST_P(PlotUsageTest, IsRefused) {
    const Outcome outcome = plot(GetParam().options);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, testing::StartsWith(GetParam().err_begins));
}

INSTANTIATE_TEST_SUITE_P(
    , PlotUsageTest,
    testing::Values(
        UsageCase{"NoOutput", {}, "petrelradar plot: --output is required"},
        UsageCase{"UnknownEnding",
                  {"-o", "/tmp/p.jpg"},
                  "petrelradar plot: -o /tmp/p.jpg: the name has to end with .svg, .png or .pdf\n"},
        UsageCase{"UnknownView",
                  {"-o", "/tmp/p.svg", "--view", "side"},
                  "petrelradar plot: --view: 'side' is none of plan, range, speed\n"},
        UsageCase{"TooSmall",
                  {"-o", "/tmp/p.svg", "--size", "100x100"},
                  "petrelradar plot: --size: '100x100' is no size from 240x240"},
        UsageCase{"TooLarge",
                  {"-o", "/tmp/p.svg", "--size", "99999x99999"},
                  "petrelradar plot: --size: '99999x99999' is no size from 240x240"},
        UsageCase{"NoSize",
                  {"-o", "/tmp/p.svg", "--size", "large"},
                  "petrelradar plot: --size: 'large' is no size from 240x240"},
        UsageCase{"NoTrail",
                  {"-o", "/tmp/p.svg", "--trail", "-3"},
                  "petrelradar plot: --trail: '-3' is no number above 0"}),
    [](auto const& tested) { return tested.param.name; });

}  // namespace
