#include "tools/command_tree.h"

namespace Tools {

namespace {

void collect(CommandNode const& command, std::vector<CommandNode const*>& all) {
    all.push_back(&command);
    for (CommandNode const& verb : command.verbs) collect(verb, all);
}

}  // namespace

std::vector<CommandNode const*> all_commands(CommandNode const& root) {
    std::vector<CommandNode const*> all;
    collect(root, all);
    return all;
}

std::vector<Verb::Example> first_examples(std::vector<Verb> const& verbs) {
    std::vector<Verb::Example> examples;
    for (Verb const& verb : verbs) {
        if (!verb.examples.empty()) examples.push_back(verb.examples.front());
    }
    return examples;
}

}  // namespace Tools
