#include "kit/base/text.h"
#include "tools/completion.h"

namespace Tools {

namespace {

/** The branches that follow the words in front of the one to complete, verb by verb. */
std::string verb_branches(std::vector<CommandNode const*> const& commands) {
    std::string text;
    for (CommandNode const* const command : commands) {
        if (command->path.empty()) continue;
        const std::string before =
            command->path.substr(0, command->path.size() - command->name.size());
        text += "            '" + (before.empty() ? " " : before) + command->name + "') verb='" +
                command->path + "' ;;\n";
    }
    return text;
}

/** The branches that complete what follows an option. */
std::string value_branches(std::vector<CommandNode const*> const& commands) {
    std::string text;
    for (CommandNode const* const command : commands) {
        for (OptionText const& option : command->options) {
            if (option.value.empty()) continue;
            text += "        ";
            for (std::string const& name : option.names) {
                text += (&name == &option.names.front() ? "'" : "|'") + command->path + " " + name +
                        "'";
            }
            text += ")\n";
            if (!option.choices.empty()) {
                text += "            words='" + Kit::joined(option.choices, " ") + "' ;;\n";
            } else {
                text += option.takes_file() ? "            files=yes ;;\n" : "            ;;\n";
            }
        }
    }
    return text;
}

/** The branches that complete everything else. */
std::string word_branches(std::vector<CommandNode const*> const& commands) {
    std::string text;
    for (CommandNode const* const command : commands) {
        std::vector<std::string> options;
        for (OptionText const& option : command->options) {
            options.insert(options.end(), option.names.begin(), option.names.end());
        }
        std::vector<std::string> words;
        for (CommandNode const& verb : command->verbs) words.push_back(verb.name);
        bool files = false;
        for (OptionText const& argument : command->arguments) {
            words.insert(words.end(), argument.choices.begin(), argument.choices.end());
            files = files || argument.takes_file();
        }
        text += "                '" + command->path + "')\n                    options='" +
                Kit::joined(options, " ") + "' words='" + Kit::joined(words, " ") + "'" +
                (files ? " files=yes" : "") + " ;;\n";
    }
    return text;
}

}  // namespace

std::string bash_completion(CommandNode const& program) {
    const std::vector<CommandNode const*> commands = all_commands(program);
    const std::string name = program.name;
    return "# Completes the command line of " + name + " in bash.\n_" + name +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    local verb='' words='' options='' files='' i\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        case \"$verb ${COMP_WORDS[i]}\" in\n" +
           verb_branches(commands) +
           "        esac\n"
           "    done\n"
           "    case \"$verb $previous\" in\n" +
           value_branches(commands) +
           "        *)\n"
           "            case \"$verb\" in\n" +
           word_branches(commands) +
           "            esac\n"
           "            if [[ $word == -* ]]; then words=$options files=''; fi ;;\n"
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\"\n"
           "        [[ -z $files ]] || compgen -f -- \"$word\")\n"
           "    [[ -z $files ]] || compopt -o filenames 2>/dev/null\n"
           "}\n"
           "complete -F _" +
           name + " " + name + "\n";
}

}  // namespace Tools
