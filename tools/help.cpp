#include "tools/help.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/command_line.h"

namespace Tools {

namespace {

using Words = std::vector<std::string>;
using Verbs = std::function<std::vector<Verb>()>;

void check_verb(CommandNode const& program, Words const& words) {
    CommandNode const* node = &program;
    for (std::string const& word : words) {
        const auto found = std::find_if(node->verbs.begin(), node->verbs.end(),
                                        [&](CommandNode const& verb) { return verb.name == word; });
        if (found == node->verbs.end()) throw Kit::UsageError("unknown verb " + Kit::quoted(word));
        node = &*found;
    }
}

/** The help of the verb that the words name: none for the program, two for "regs read". */
std::string help_of(std::vector<Verb> const& verbs, Words const& words) {
    CommandLine line(verbs);
    check_verb(line.tree(), words);
    std::vector<char const*> arguments = {"petrelradar"};
    for (std::string const& word : words) arguments.push_back(word.c_str());
    arguments.push_back("--help");
    return line.parse(static_cast<int>(arguments.size()), arguments.data()).text;
}

Run declare(OptionParser& parser, Verbs const& verbs) {
    const auto words = std::make_shared<Words>();
    Words names;
    for (Verb const& verb : verbs()) names.push_back(verb.name);
    parser.add_arguments("VERB", *words, "The verb; without it, the program", names);
    return [words, verbs](Console& console) {
        console.out.write(help_of(verbs(), *words));
        return ExitStatus::kOk;
    };
}

}  // namespace

Verb help_verb(Verbs verbs) {
    return {"help",
            "Print the help of a verb",
            {{"help cut", "the same as 'petrelradar cut --help'"},
             {"help regs read", "of a verb that another one divides into"},
             {"help", "the list of all verbs"}},
            "Prints what --help prints.",
            [verbs = std::move(verbs)](OptionParser& parser) { return declare(parser, verbs); }};
}

}  // namespace Tools
