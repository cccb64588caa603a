#include "tools/command_tree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>

#include "tools/cli/options.h"
#include "tools/command_line.h"

namespace Tools {

namespace {

CommandOption read_option(CLI::Option& option) {
    CommandOption result;
    result.description = option.get_description();
    result.choices = choices_of(option);
    if (option.get_positional()) {
        result.names = {option.get_name()};
        result.value = option.get_name();
        return result;
    }
    for (std::string const& name : option.get_snames()) result.names.push_back("-" + name);
    for (std::string const& name : option.get_lnames()) result.names.push_back("--" + name);
    if (option.get_type_size() > 0) result.value = option.get_type_name();
    return result;
}

CommandNode read_command(CLI::App& parser, std::string const& path) {
    CommandNode command{parser.get_name(), path, parser.get_description(), {}, {}, {}};
    for (CLI::Option* const option : parser.get_options()) {
        auto& list = option->get_positional() ? command.arguments : command.options;
        list.push_back(read_option(*option));
    }
    for (CLI::App* const verb : parser.get_subcommands([](CLI::App*) { return true; })) {
        const std::string before = path.empty() ? "" : path + " ";
        command.verbs.push_back(read_command(*verb, before + verb->get_name()));
    }
    return command;
}

void collect(CommandNode const& command, std::vector<CommandNode const*>& all) {
    all.push_back(&command);
    for (CommandNode const& verb : command.verbs) collect(verb, all);
}

}  // namespace

bool CommandOption::takes_file() const {
    constexpr char const* kFiles[] = {"SOURCE", "FILE", "DIR", "PATH", "A", "B"};
    const std::string word = value.substr(0, value.find("..."));
    return std::find(std::begin(kFiles), std::end(kFiles), word) != std::end(kFiles);
}

CommandNode command_tree(std::vector<Verb> const& verbs) {
    return read_command(*make_command_line(verbs).parser, "");
}

std::vector<CommandNode const*> all_commands(CommandNode const& root) {
    std::vector<CommandNode const*> all;
    collect(root, all);
    return all;
}

}  // namespace Tools
