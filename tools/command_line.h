#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/cli/verb.h"

namespace Tools {

/** The program's command line: the parser with all verbs, and what runs each. */
struct CommandLine {
    std::unique_ptr<CLI::App> parser;
    std::map<std::string, Run> runs;  // by verb: "listen", "regs read"
};

/** The examples of the program itself: the first one of each verb. */
std::vector<Verb::Example> first_examples(std::vector<Verb> const& verbs);

/** Makes the command line of these verbs. */
CommandLine make_command_line(std::vector<Verb> const& verbs);

}  // namespace Tools
