#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "support/private_paths.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PETRELRADAR_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define PETRELRADAR_ADDRESS_SANITIZER 1
#endif

/** Runs a program that reports what happens while the library is loaded and unloaded. */
class StaticObjectsTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file("/etc/radar/radar.conf", "[Radar]\nrange=7\n");
        test_support::write_file("/etc/radar/analytics.conf", "[ANALYTICS]\nmounting_height=2.5\n");
    }

    /** The program's lines; fails the test when it does not end well. */
    static std::vector<std::string> run() {
        FILE* const output = popen(PETRELRADAR_LOAD_ORDER_PROGRAM, "r");
        std::stringstream text;
        for (int c = 0; (c = std::fgetc(output)) != EOF;) text << static_cast<char>(c);
        EXPECT_EQ(pclose(output), 0);
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
    }

    /** The program's last line; empty when it wrote none. */
    static std::string last_line() {
        const auto lines = run();
        return lines.empty() ? "" : lines.back();
    }

    /** What follows `beginning` in the lines that begin with it, in order. */
    static std::vector<std::string> lines_with(std::string const& beginning) {
        std::vector<std::string> found;
        for (std::string const& line : run()) {
            if (line.rfind(beginning, 0) == 0) found.push_back(line.substr(beginning.size()));
        }
        return found;
    }
};

TEST_F(StaticObjectsTest, TheRegistryIsBuiltFirstThenTheTextsThenTheSettings) {
    EXPECT_THAT(lines_with("built "),
                ElementsAre("registry", "text /etc/radar/analytics.conf", "text ANALYTICS",
                            "text detection_sensitivity", "text mounting_height",
                            "text mounting_tilt", "text Radar", "settings"));
}

TEST_F(StaticObjectsTest, AreDestroyedInReverse) {
    EXPECT_THAT(lines_with("destroy "),
                ElementsAre("settings", "text Radar", "text mounting_tilt", "text mounting_height",
                            "text detection_sensitivity", "text ANALYTICS",
                            "text /etc/radar/analytics.conf", "registry"));
}

TEST_F(StaticObjectsTest, TheSettingsFileIsOpenedOnceWhileTheSettingsAreBuilt) {
    const auto lines = run();
    const auto open = std::find(lines.begin(), lines.end(), "open radar.conf");
    ASSERT_NE(open, lines.end());
    EXPECT_EQ(*std::prev(open), "built text Radar");
    EXPECT_EQ(*std::next(open), "built settings");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "open radar.conf"), 1);
}

TEST_F(StaticObjectsTest, AMissingSettingsFileIsOpenedOnceAndNotLogged) {
    std::remove("/etc/radar/radar.conf");
    EXPECT_THAT(lines_with("open "), ElementsAre("radar.conf"));
    EXPECT_THAT(lines_with("logger: "), testing::IsEmpty());
}

TEST_F(StaticObjectsTest, AProgramsOwnLoggerIsCalledForABadSettingsFile) {
    test_support::write_file("/etc/radar/radar.conf", "[Radar]\nrange=far\n");
    EXPECT_THAT(
        lines_with("logger: [1] "),
        ElementsAre(StartsWith("Could not read integer range from /etc/radar/radar.conf: ")));
}

TEST_F(StaticObjectsTest,
       TheRegistryAndTheAnalyticsWorkWhileTheSettingsAreReadAndFramesFollowLast) {
    test_support::write_file("/etc/radar/radar.conf", "[Radar]\nrange=far\n");
    const auto messages = lines_with("logger: ");
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[1], "0 status items, height 2.500000, frames not described");
}

TEST_F(StaticObjectsTest, EverythingServesAStaticObjectOfTheProgram) {
    EXPECT_THAT(lines_with("program: "),
                ElementsAre("1 status items, height 2.500000, frames described, range 7"));
}

TEST_F(StaticObjectsTest, TheRegistryTakesItsCallbacksWithIt) {
    EXPECT_EQ(last_line(), "callback destroyed");
}

#ifdef PETRELRADAR_ADDRESS_SANITIZER  // which watches the order
TEST_F(StaticObjectsTest, NoObjectIsUsedBeforeItIsBuilt) {
    setenv("ASAN_OPTIONS", "check_initialization_order=1", 1);
    test_support::write_file("/etc/radar/radar.conf", "[Radar]\nrange=far\n");
    EXPECT_EQ(last_line(), "callback destroyed");
}
#endif

}  // namespace
