#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/tools/registers/fixture.h"
#include "tools/registers/dump_file.h"

/** petrelradar regs watch */
namespace {

using nlohmann::json;
using test_support::Outcome;
using testing::ElementsAre;
using testing::MatchesRegex;

constexpr char kTime[] = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9] ";

class RegsWatchTest : public tools_test::RegsTest {
protected:
    /** Looks so many times, with no time between. */
    static Outcome watch(std::vector<std::string> arguments, int looks) {
        arguments.insert(arguments.begin(), "watch");
        arguments.insert(arguments.end(), {"--count", std::to_string(looks), "--interval", "1e-6"});
        return regs(arguments);
    }

    static std::vector<std::string> lines(std::string const& text) {
        std::vector<std::string> all;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) all.push_back(line);
        return all;
    }

    /** From now on every read of CONTROL toggles its lowest bit first. */
    void toggle_enable() {
        const auto answer = calls_.ioctl;
        calls_.ioctl = [this, answer](int fd, unsigned long request, void* argument) {
            chip_.answers[0x0010] = chip_.chip.read(0x0010) | (toggles_++ % 2);
            return answer(fd, request, argument);
        };
    }

private:
    uint32_t toggles_ = 0;
};

TEST_F(RegsWatchTest, WhatDoesNotChangeIsPrintedOnce) {
    const Outcome outcome = watch({"scratch", "control"}, 5);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(chip_.reads, 10);
    EXPECT_THAT(
        lines(outcome.out),
        ElementsAre(MatchesRegex(std::string(kTime) + "scratch 0x00000000"),
                    MatchesRegex(std::string(kTime) +
                                 "control 0x00400000 enable=0 frame_rate=0 max_targets=64")));
}

TEST_F(RegsWatchTest, AChangeShowsBothValuesAndTheFieldsThatChanged) {
    toggle_enable();
    EXPECT_THAT(lines(watch({"control"}, 2).out).back(),
                MatchesRegex(std::string(kTime) + "control 0x00400000 -> 0x00400001 enable=0->1 "
                                                  "frame_rate=0 max_targets=64"));
}

TEST_F(RegsWatchTest, AFieldStandsForItsRegister) {
    EXPECT_EQ(watch({"control.enable", "control.frame_rate", "0x10"}, 1).status, 0);
    EXPECT_EQ(chip_.reads, 1);
}

TEST_F(RegsWatchTest, AsNdjsonEveryChangeIsAnObject) {
    toggle_enable();
    const json change = json::parse(lines(watch({"control", "--format", "ndjson"}, 2).out).back());
    EXPECT_EQ(change["name"], "control");
    EXPECT_EQ(change["address"], 16);
    EXPECT_EQ(change["before"], 0x00400000);
    EXPECT_EQ(change["value"], 0x00400001);
    EXPECT_EQ(change["fields"]["enable"], 1);
    EXPECT_THAT(change["time_us"].get<std::string>(), MatchesRegex("[0-9]+"));
}

TEST_F(RegsWatchTest, WithoutNamesAllThatMayBeReadIsWatched) {
    const Outcome outcome = watch({}, 1);
    EXPECT_EQ(lines(outcome.out).size(), 12U + 192U);
    EXPECT_EQ(outcome.err,
              "petrelradar regs watch: skipped: reset, acknowledge (it can only be written); "
              "events (reading changes it; use --force to read it)\n");
}

TEST_F(RegsWatchTest, ForcedWhatReadingClearsIsWatched) {
    measure_disturbed_frame();
    const auto printed = lines(watch({"events", "--force"}, 3).out);
    ASSERT_EQ(printed.size(), 2U);
    EXPECT_THAT(printed[1], MatchesRegex(std::string(kTime) + "events 0x00000003 -> 0x00000000 "
                                                              "interference=1->0 saturation=1->0 "
                                                              "overflow=0 cut=0"));
}

TEST_F(RegsWatchTest, UnforcedItIsRefused) {
    const Outcome outcome = watch({"events"}, 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(traffic(), 0);
}

TEST_F(RegsWatchTest, AChipThatIsLostEndsIt) {
    int left = 3;
    const auto answer = calls_.ioctl;
    calls_.ioctl = [&, answer](int fd, unsigned long request, void* argument) {
        if (--left >= 0) return answer(fd, request, argument);
        errno = ENOTCONN;
        return -1;
    };
    const Outcome outcome = watch({"scratch"}, 100);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(lines(outcome.out).size(), 1U) << "what was seen before";
    EXPECT_EQ(outcome.err,
              "petrelradar regs watch: scratch (0x0008) cannot be read: SPI communication failed: "
              "Transport endpoint is not connected\n");
}

TEST_F(RegsWatchTest, AnIntervalOfNothingIsRefused) {
    EXPECT_EQ(regs({"watch", "--interval", "0"}).err,
              "petrelradar regs watch: --interval: '0' is not a number of seconds up to a day\n"
              "Try 'petrelradar regs watch --help'.\n");
}

}  // namespace
