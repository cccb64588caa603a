#include "tools/completion.h"

namespace Tools {

namespace {

/** A text between single quotes, in which the characters that _arguments reads are not special. */
std::string zsh_quoted(std::string const& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            if (c == ':' || c == '[' || c == ']' || c == '\\') result += '\\';
            result += c;
        }
    }
    return result;
}

std::string function_name(std::string const& program, CommandNode const& command) {
    std::string name = "_" + program + (command.path.empty() ? "" : "_" + command.path);
    for (char& c : name) {
        if (c == ' ' || c == '-') c = '_';
    }
    return name;
}

/** How a value is completed: from its choices, as a file, or not at all. */
std::string action(OptionText const& option) {
    if (option.choices.empty()) return option.takes_file() ? "_files" : "()";
    std::string words;
    for (std::string const& choice : option.choices) words += (words.empty() ? "" : " ") + choice;
    return "(" + words + ")";
}

std::string option_specs(CommandNode const& command) {
    std::string text;
    for (OptionText const& option : command.options) {
        for (std::string const& name : option.names) {
            text += " \\\n        '" + name + "[" + zsh_quoted(option.description) + "]";
            if (!option.value.empty())
                text += ":" + zsh_quoted(option.value) + ":" + action(option);
            text += "'";
        }
    }
    return text;
}

std::string argument_specs(CommandNode const& command) {
    std::string text;
    for (OptionText const& argument : command.arguments) {
        text += " \\\n        '*:" + zsh_quoted(argument.value) + ":" + action(argument) + "'";
        break;  // what is true of a verb's first argument is so of the others
    }
    return text;
}

/** The function of a command that divides into verbs. */
std::string verbs_function(std::string const& program, CommandNode const& command) {
    std::string text = function_name(program, command) +
                       "() {\n"
                       "    local context state state_descr line\n"
                       "    typeset -A opt_args\n"
                       "    _arguments -C" +
                       option_specs(command) +
                       " \\\n        '1:verb:->verb' '*::argument:->argument'\n"
                       "    case $state in\n"
                       "        verb)\n"
                       "            local -a verbs=(";
    for (CommandNode const& verb : command.verbs) {
        text += "\n                '" + verb.name + ":" + zsh_quoted(verb.summary) + "'";
    }
    text +=
        ")\n            _describe verb verbs ;;\n        argument)\n            case $line[1] in\n";
    for (CommandNode const& verb : command.verbs) {
        text += "                " + verb.name + ") " + function_name(program, verb) + " ;;\n";
    }
    return text + "            esac ;;\n    esac\n}\n\n";
}

}  // namespace

std::string zsh_completion(CommandNode const& program) {
    std::string text = "#compdef " + program.name + "\n# Completes the command line of " +
                       program.name + " in zsh.\n\n";
    for (CommandNode const* const command : all_commands(program)) {
        if (command->verbs.empty()) {
            text += function_name(program.name, *command) + "() {\n    _arguments" +
                    option_specs(*command) + argument_specs(*command) + "\n}\n\n";
        } else {
            text += verbs_function(program.name, *command);
        }
    }
    // As a file of the function path it is called; sourced, it registers itself.
    return text + "if [[ $funcstack[1] == _" + program.name + " ]]; then\n    _" + program.name +
           " \"$@\"\nelse\n    compdef _" + program.name + " " + program.name + "\nfi\n";
}

}  // namespace Tools
