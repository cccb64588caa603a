#pragma once

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/inside.h"
#include "tests/support/private_paths.h"

namespace tools_test {

using test_support::Outcome;
using test_support::run_inside;

constexpr char kFile[] = "/tmp/etc/radar.conf";
constexpr char kDefault[] = "/etc/radar/radar.conf";

/** The verbs of `petrelradar settings`, on a file in a directory of its own. */
class SettingsTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        std::filesystem::remove(kDefault);
        std::filesystem::remove_all("/tmp/etc");
        std::filesystem::create_directory("/tmp/etc");
    }

    /** "petrelradar settings VERB ..." of a file with this text. */
    static Outcome run(std::string const& text, std::vector<std::string> arguments) {
        test_support::write_file(kFile, text);
        return run_on(kFile, std::move(arguments));
    }

    static Outcome run_on(std::string const& file, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "settings");
        arguments.insert(arguments.end(), {"--file", file});
        return run_inside(arguments);
    }

    static mode_t mode_of(char const* path) {
        struct stat status = {};
        EXPECT_EQ(stat(path, &status), 0);
        return status.st_mode & 07777;
    }

    static uid_t owner_of(char const* path) {
        struct stat status = {};
        EXPECT_EQ(stat(path, &status), 0);
        return status.st_uid;
    }
};

}  // namespace tools_test
