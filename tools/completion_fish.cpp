#include "tools/completion.h"

namespace Tools {

namespace {

std::string fish_quoted(std::string const& text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\') result += '\\';
        result += c;
    }
    return result + "'";
}

/** The function that tells which verb the words in front of the cursor have chosen. */
std::string verb_function(std::string const& program,
                          std::vector<CommandNode const*> const& commands) {
    std::string text = "function __" + program +
                       "_at\n"
                       "    set -l words (commandline -opc)\n"
                       "    set -l verb ''\n"
                       "    for word in $words[2..]\n"
                       "        switch \"$verb $word\"\n";
    for (CommandNode const* const command : commands) {
        if (command->path.empty()) continue;
        const bool outer = command->path == command->name;
        text += "            case " + fish_quoted((outer ? " " : "") + command->path) +
                "\n                set verb " + fish_quoted(command->path) + "\n";
    }
    return text +
           "        end\n"
           "    end\n"
           "    test \"$verb\" = \"$argv[1]\"\n"
           "end\n\n";
}

std::string option_line(std::string const& begin, OptionText const& option) {
    std::string text = begin;
    for (std::string const& name : option.names) {
        text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.choices.empty()) {
        std::string words;
        for (std::string const& word : option.choices) words += (words.empty() ? "" : " ") + word;
        text += " -x -a " + fish_quoted(words);
    } else if (!option.value.empty()) {
        text += option.takes_file() ? " -r -F" : " -x";
    }
    return text + " -d " + fish_quoted(option.description) + "\n";
}

}  // namespace

std::string fish_completion(CommandNode const& program) {
    const std::vector<CommandNode const*> commands = all_commands(program);
    std::string text = "# Completes the command line of " + program.name + " in fish.\n" +
                       verb_function(program.name, commands);
    text += "complete -c " + program.name + " -f\n";
    for (CommandNode const* const command : commands) {
        const std::string begin = "complete -c " + program.name + " -n \"__" + program.name +
                                  "_at " + fish_quoted(command->path) + "\"";
        for (CommandNode const& verb : command->verbs) {
            text += begin + " -a " + verb.name + " -d " + fish_quoted(verb.summary) + "\n";
        }
        for (OptionText const& option : command->options) text += option_line(begin, option);
        for (OptionText const& argument : command->arguments) {
            for (std::string const& choice : argument.choices) {
                text += begin + " -a " + choice + "\n";
            }
            if (argument.takes_file()) {
                text += begin + " -F\n";
                break;
            }
        }
    }
    return text;
}

}  // namespace Tools
