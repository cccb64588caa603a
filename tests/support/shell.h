#pragma once

#include <string>

namespace tools_test {

/** What a command of the shell gave. */
struct ShellOutcome {
    int status = -1;
    std::string text;  // what it printed, standard error included
};

/** Runs a command to its end. */
ShellOutcome run_in_shell(std::string const& command);

/**
 * Prints what an MCAP file holds, read by programs that are not of this project's making. Status 77
 * where they are missing; the text says which.
 */
ShellOutcome print_mcap(std::string const& path);

}  // namespace tools_test
