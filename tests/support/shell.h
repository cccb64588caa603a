#pragma once

#include <string>

#include "tests/support/process.h"

namespace test_support {

/** Runs a command of the shell to its end; what it prints on standard error is in `out` too. */
Outcome run_in_shell(std::string const& command);

/**
 * Prints what an MCAP file holds, read by programs that are not of this project's making. Status 77
 * where they are missing; `out` says which.
 */
Outcome print_mcap(std::string const& path);

}  // namespace test_support
