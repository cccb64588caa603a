#include "tests/support/chip_program.h"

namespace test_support {

std::vector<std::string> chip_with(std::vector<std::string> const& command,
                                   std::vector<std::string> const& options) {
    std::vector<std::string> arguments = {PETRELRADAR_CHIP_PROGRAM};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back("--");
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
}

std::vector<std::string> chip_with_script(std::string const& script) {
    return chip_with({"sh", "-c", script});
}

std::vector<std::string> client(std::vector<std::string> const& steps) {
    std::vector<std::string> arguments = {CHIP_CLIENT_PROGRAM};
    arguments.insert(arguments.end(), steps.begin(), steps.end());
    return arguments;
}

std::string client_text(std::vector<std::string> const& steps) {
    std::string text;
    for (std::string const& argument : client(steps)) text += "'" + argument + "' ";
    return text;
}

std::string chip_problem() {
    constexpr int kUnavailable = 69;
    const Outcome outcome = run_process(chip_with({"true"}));
    return outcome.status == kUnavailable ? outcome.err : "";
}

void ChipProgramTest::SetUp() {
    PrivatePathsTest::SetUp();
    if (IsSkipped()) return;
    const std::string problem = chip_problem();
    if (!problem.empty()) GTEST_SKIP() << problem;
}

}  // namespace test_support
