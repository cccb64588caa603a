#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test_support {

/**
 * Starts this program again in a mount namespace of its own, in which "/tmp", "/etc/radar",
 * "/var/spool/storage" and "/dev" are private and, but for the devices in "/dev", empty. The rest
 * of the machine is where it was. Returns in the program that has private paths, and where the
 * machine grants no namespace: then private_paths_problem() says why.
 */
void restart_with_private_paths(char** argv);

/** Why this process has no private paths; empty when it has. */
std::string private_paths_problem();

/** Whether this program can be started again from a test: not in an emulator. */
bool can_start_itself();

/** Makes `path`, a fixed path, a file with this content. */
void write_file(std::string const& path, std::string const& content);

/** The content of a file, as bytes; fails the test when there is none. */
std::string read_file(std::string const& path);

/** Whether the source or the build folder, kept in "/tmp" where it lies there, is below `path`. */
bool leads_to_the_build(std::string const& path);

/**
 * The names in a directory, sorted; none when there is no directory. A build folder that lies in
 * "/tmp" is left out.
 */
std::vector<std::string> list_directory(std::string const& path);

/** A test that uses fixed paths: skipped where they cannot be private. */
class PrivatePathsTest : public testing::Test {
protected:
    void SetUp() override {
        if (!private_paths_problem().empty()) GTEST_SKIP() << private_paths_problem();
    }
};

}  // namespace test_support
