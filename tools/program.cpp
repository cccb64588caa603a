#include "tools/program.h"

#include <unistd.h>

#include <exception>
#include <string>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "tools/command_line.h"
#include "tools/screen/terminal.h"
#include "tools/verbs.h"

namespace Tools {

namespace {

/** The parser of the verb that the arguments chose; the program's own when they chose none. */
CLI::App const& chosen_parser(CLI::App const& parser) {
    const auto chosen = parser.get_subcommands();
    return chosen.empty() ? parser : chosen_parser(*chosen.front());
}

/** The name of the verb that the arguments chose, "regs read"; empty when they chose none. */
std::string chosen_verb(CLI::App const& parser) {
    std::string name;
    for (CLI::App const* verb = &chosen_parser(parser); verb != &parser; verb = verb->get_parent())
        name = verb->get_name() + (name.empty() ? "" : " ") + name;
    return name;
}

/** Whether a verb has to follow, as it has to behind "petrelradar" and "petrelradar regs". */
bool needs_verb(CLI::App const& parser) {
    return parser.get_require_subcommand_min() > 0;
}

/** What was wrong with the arguments, in the words of a person. */
std::string problem(CLI::App const& parser, CLI::ParseError const& error) {
    const std::vector<std::string> others = parser.remaining(true);
    if (!needs_verb(chosen_parser(parser)) || others.empty()) return error.what();
    return "'" + others.front() + (others.front()[0] == '-' ? "' is no option" : "' is no verb");
}

Messages messages_of(std::string const& verb) {
    return Messages(verb, takes_colour(STDERR_FILENO));
}

ExitStatus usage_failure(std::string const& verb, std::string const& text) {
    messages_of(verb).error(text);
    Messages::print("Try 'petrelradar " + (verb.empty() ? "" : verb + " ") + "--help'.\n");
    return ExitStatus::kUsage;
}

/** Does `work`, with every way in which it can end turned into a status. */
template <typename Work>
ExitStatus finish(std::string const& verb, Work work) {
    Console console{Output(STDOUT_FILENO), messages_of(verb)};
    ExitStatus status = ExitStatus::kOk;
    try {
        status = work(console);
        console.out.flush();
        return status;
    } catch (OutputStuck const&) {
        console.messages.warn("interrupted; nobody took what was left for standard output");
        return ExitStatus::kDamaged;
    } catch (OutputClosed const&) {
        return status;  // of the work, if that was done; a reader that leaves is all well
    } catch (Kit::UsageError const& error) {
        return usage_failure(verb, error.what());
    } catch (std::exception const& error) {
        console.messages.error(error.what());
        return ExitStatus::kFailed;
    }
}

}  // namespace

ExitStatus run_program(int argc, char const* const* argv) {
    const CommandLine line = make_command_line(all_verbs());
    std::string verb;
    try {
        line.parser->parse(argc, argv);
        verb = chosen_verb(*line.parser);
    } catch (CLI::CallForHelp const&) {
        return finish("", [&](Console& console) {
            console.out.write(line.parser->help());
            return ExitStatus::kOk;
        });
    } catch (CLI::CallForVersion const& version) {
        return finish("", [&](Console& console) {
            console.out.write(std::string(version.what()) + "\n");
            return ExitStatus::kOk;
        });
    } catch (CLI::ParseError const& error) {
        verb = chosen_verb(*line.parser);
        // Without a verb where one has to be, the help says more than a message.
        const bool ends_early =
            needs_verb(chosen_parser(*line.parser)) && line.parser->remaining(true).empty();
        if (!ends_early) return usage_failure(verb, problem(*line.parser, error));
        Messages::print(line.parser->help());
        return ExitStatus::kUsage;
    }
    return finish(verb, [&](Console& console) { return line.runs.at(verb)(console); });
}

}  // namespace Tools
