#pragma once

#include <string>
#include <vector>

#include "tests/support/process.h"

namespace test_support {

/**
 * Runs the program's verbs inside this process, where doubles of system calls reach them, with
 * files of the private "/tmp" for what they print. One thread at a time.
 *
 * @param input what they read from standard input.
 */
Outcome run_inside(std::vector<std::string> const& arguments, std::string const& input = "");

}  // namespace test_support
