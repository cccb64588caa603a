#include "tests/support/shell.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace tools_test {

ShellOutcome run_in_shell(std::string const& command) {
    ShellOutcome outcome;
    FILE* const shell = popen((command + " 2>&1").c_str(), "re");
    if (shell == nullptr) return outcome;
    std::array<char, 4096> piece;
    for (size_t size = 1; size > 0;) {
        size = std::fread(piece.data(), 1, piece.size(), shell);
        outcome.text.append(piece.data(), size);
    }
    const int status = pclose(shell);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

ShellOutcome print_mcap(std::string const& path) {
    if (run_in_shell("node --version").status != 0) return {77, "node is not there"};
    return run_in_shell("node " PETRELRADAR_SOURCE_DIR
                        "/tests/tools/convert/mcap_reader/print_mcap.mjs " MCAP_READER_FOLDER " " +
                        path);
}

}  // namespace tools_test
