// The command line of the verb plot: its sources, its output and what it refuses.

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "kit/stream/relay.h"
#include "tests/support/eventually.h"
#include "tests/support/stream_frames.h"
#include "tests/tools/plot/fixture.h"

namespace {

using test_support::frame;
using test_support::kBegin;
using test_support::Outcome;
using test_support::recording;
using testing::HasSubstr;
using tools_test::kRecording;
using tools_test::PlotTest;
using tools_test::xml_problem;

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
    test_support::Program program(
        {"plot", "unix:/tmp/radar.sock", "-o", "/tmp/p.svg", "--frames", "0"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin, {{3, 1, 0}})));
    relay.publish(Kit::stream_frame(frame(kBegin + 1, {{3, 1, 0}})));
    EXPECT_EQ(program.finish().status, 0);
    EXPECT_THAT(test_support::read_file("/tmp/p.svg"), HasSubstr(" 1 target</text>"));
}

TEST_F(PlotTest, ALiveStreamIsDrawnWhenThePersonEndsIt) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    test_support::Program program({"plot", "unix:/tmp/radar.sock", "-o", "/tmp/p.svg"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
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
    EXPECT_EQ(outcome.err,
              "petrelradar plot: /tmp/p.svg: already exists (use --force to overwrite)\n");
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
                  "petrelradar plot: --view: unknown value 'side' (expected one of plan, range, "
                  "speed)\n"},
        UsageCase{"TooSmall",
                  {"-o", "/tmp/p.svg", "--size", "100x100"},
                  "petrelradar plot: --size: '100x100' is not a size from 240x240"},
        UsageCase{"TooLarge",
                  {"-o", "/tmp/p.svg", "--size", "99999x99999"},
                  "petrelradar plot: --size: '99999x99999' is not a size from 240x240"},
        UsageCase{"NoSize",
                  {"-o", "/tmp/p.svg", "--size", "large"},
                  "petrelradar plot: --size: 'large' is not a size from 240x240"},
        UsageCase{"NoTrail",
                  {"-o", "/tmp/p.svg", "--trail", "-3"},
                  "petrelradar plot: --trail: '-3' is not a number above 0"}),
    [](auto const& tested) { return tested.param.name; });

}  // namespace
