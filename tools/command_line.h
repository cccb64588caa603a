#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/cli/verb.h"
#include "tools/command_tree.h"

namespace Tools {

/** What a command line asks for. */
struct ParsedLine {
    enum class Kind {
        kRun,      // `run` does the work of `verb`
        kPrint,    // `text`, the help or the version, for standard output
        kNoVerb,   // nothing, where a verb has to follow; `text` is the help
        kProblem,  // what makes no sense; `text` is what is wrong
    };

    Kind kind = Kind::kRun;
    std::string verb;  // "listen", "regs read"; empty for the program itself
    std::string text;
    Run run;
};

/** The program's command line: the parser with all verbs, and what runs each. One thread at a time.
 */
class CommandLine {
public:
    explicit CommandLine(std::vector<Verb> const& verbs);
    ~CommandLine();
    CommandLine(CommandLine const&) = delete;
    CommandLine& operator=(CommandLine const&) = delete;

    /** Parses the arguments, once. What is to run lives no longer than this object. */
    ParsedLine parse(int argc, char const* const* argv);

    /** The program and its verbs with their options, for manual pages and completion. */
    CommandNode const& tree() const;

private:
    struct Parser;

    std::unique_ptr<Parser> parser_;
};

/** The program's commands, as the command line of these verbs declares them. */
CommandNode command_tree(std::vector<Verb> const& verbs);

}  // namespace Tools
