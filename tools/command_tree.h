#pragma once

#include <string>
#include <vector>

#include "tools/cli/verb.h"

namespace Tools {

/** An option or an argument of a verb, as its parser takes it. */
struct CommandOption {
    std::vector<std::string> names;  // "-o", "--output"; one without dashes for an argument
    std::string value;  // what follows it, as the help names it: "FILE"; empty: nothing
    std::string description;
    std::vector<std::string> choices;  // all values that it can have; empty: any

    /** Whether the value is the name of a file or a folder. */
    bool takes_file() const;
};

/** A verb, as its parser takes it. The root is the program itself. */
struct CommandNode {
    std::string name;  // without the verbs before it: "read"
    std::string path;  // with them: "regs read"; empty for the program
    std::string summary;
    std::vector<CommandOption> options;
    std::vector<CommandOption> arguments;
    std::vector<CommandNode> verbs;
};

/** The program's commands, read off the parser of these verbs. */
CommandNode command_tree(std::vector<Verb> const& verbs);

/** The command and all below it, each before its own verbs. */
std::vector<CommandNode const*> all_commands(CommandNode const& root);

}  // namespace Tools
