// The settings of the device, read while the library is loaded.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "config/configuration.h"
#include "support/captured_log.h"
#include "support/private_paths.h"

namespace {

using Radar::Configuration;
using test_support::read_file;
using test_support::write_file;

/** Runs what it checks in a process that loads the library again, with the file in place. */
class ConfigurationAtLoadTest : public test_support::PrivatePathsTest {
protected:
    ConfigurationAtLoadTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (!test_support::can_start_itself()) GTEST_SKIP() << "an emulator loads it once only";
    }

    [[noreturn]] static void end(bool success) {
        for (auto const& line : test_support::captured_log()) std::cerr << line;
        std::cerr << Configuration::instance->conf << std::flush;
        std::_Exit(success ? 0 : 1);
    }

    const std::string path = "/etc/radar/radar.conf";
};

TEST_F(ConfigurationAtLoadTest, TheInstanceHoldsTheSettingsOfTheDevice) {
    write_file(path, "[Radar]\nk=7\n");
    EXPECT_EXIT(end(Configuration::instance->conf == Configuration(path).conf),
                testing::ExitedWithCode(0), "ConfMap:\nconf:  key: k = 7\n");
}

TEST_F(ConfigurationAtLoadTest, TheInstanceIsEmptyAndSilentWithoutAFile) {
    EXPECT_EXIT(end(Configuration::instance->conf.empty() && test_support::captured_log().empty()),
                testing::ExitedWithCode(0), "ConfMap:\n");
}

TEST_F(ConfigurationAtLoadTest, ABadFileIsLoggedOnceWhileTheLibraryIsLoaded) {
    write_file(path, "[Radar\nk=7\n");
    EXPECT_EXIT(end(test_support::captured_log().size() == 1), testing::ExitedWithCode(0),
                "^\\[1\\] Could not read configuration from /etc/radar/radar.conf: .+\nConfMap:\n");
}

TEST_F(ConfigurationAtLoadTest, TheInstanceWritesToTheFileOfTheDevice) {
    Configuration::instance->set("k", 5);
    EXPECT_EQ(read_file(path), "[Radar]\nk=5\n");
}

}  // namespace
