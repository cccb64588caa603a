#pragma once

#include <string>
#include <vector>

#include "tools/cli/options.h"
#include "tools/cli/verb.h"

namespace Tools {

/** A verb, as its parser takes it. The root is the program itself. */
struct CommandNode {
    std::string name;  // without the verbs before it: "read"
    std::string path;  // with them: "regs read"; empty for the program
    std::string summary;
    std::vector<OptionText> options;
    std::vector<OptionText> arguments;
    std::vector<CommandNode> verbs;
};

/** The command and all below it, each before its own verbs. */
std::vector<CommandNode const*> all_commands(CommandNode const& root);

/** The examples of the program itself: the first one of each verb. */
std::vector<Verb::Example> first_examples(std::vector<Verb> const& verbs);

}  // namespace Tools
