#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace Tools {

// Options with values that are checked, and messages that say what was wrong in few words.

/** An option NAME whose value is one of `choices`, "--format" for example. */
CLI::Option* add_choice(CLI::App& parser, std::string const& name, std::string& value,
                        std::vector<std::string> const& choices, std::string const& description);

/** The values that an option of add_choice() can have; none for other options. */
std::vector<std::string> choices_of(CLI::Option& option);

/** An option NAME N whose value is a whole number above 0. */
CLI::Option* add_count(CLI::App& parser, std::string const& name, uint64_t& value,
                       std::string const& description);

}  // namespace Tools
