#include "tests/scripts/script_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace scripts_test {

namespace {

namespace fs = std::filesystem;

/** In the environment of whatever a test starts. */
std::string mark() {
    return "PETRELRADAR_SCRIPT_TEST=" + std::to_string(getpid());
}

bool is_marked(fs::path const& process) {
    std::ifstream file(process / "environ", std::ios::binary);
    const std::string environment(std::istreambuf_iterator<char>(file), {});
    return environment.find(mark() + '\0') != std::string::npos;
}

}  // namespace

void ScriptTest::SetUp() {
    PrivatePathsTest::SetUp();
    setenv("PETRELRADAR_SCRIPT_TEST", std::to_string(getpid()).c_str(), 1);
    setenv("XDG_STATE_HOME", "/tmp/state", 1);
    setenv("TERM", "xterm", 1);
    unsetenv("CI");
    unsetenv("PETRELRADAR_DETECTION_LOGS");
}

bool ScriptTest::any_process_is_left() {
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        const bool is_process = std::all_of(name.begin(), name.end(), [](unsigned char character) {
            return std::isdigit(character) != 0;
        });
        // This process has set its own variable after its start, where it does not show.
        if (is_process && is_marked(entry.path())) return true;
    }
    return false;
}

std::vector<std::string> ScriptTest::left(std::string const& beginning) {
    std::vector<std::string> names;
    for (std::string const& name : test_support::list_directory("/tmp")) {
        if (name.rfind(beginning, 0) == 0) names.push_back(name);
    }
    return names;
}

bool ScriptTest::can_become_another_user() {
    std::ifstream map("/proc/self/uid_map");
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    map >> inside >> outside >> count;
    return geteuid() == 0 && count > kOrdinaryUser;
}

}  // namespace scripts_test
