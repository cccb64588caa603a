#include "tools/program.h"

#include <unistd.h>

#include <exception>
#include <string>
#include <utility>

#include "kit/base/input_error.h"
#include "tools/cli/usage_error.h"
#include "tools/help.h"
#include "tools/verbs.h"

namespace Tools {

namespace {

constexpr char kName[] = "petrelradar";
constexpr char kSummary[] = "Everything that one does with a radar's recordings and live streams.";
constexpr char kDetails[] =
    "Data goes to standard output, everything else to standard error.\n"
    "Exit status: 0 all well; 1 failed; 2 usage; 3 finished, but something was lost,\n"
    "skipped or damaged.";

/** Adds a verb to the verbs of `parent`, whose own name, with a blank behind it, is `before`. */
void add_verb(Verb const& verb, CLI::App& parent, std::string const& before, CommandLine& line) {
    CLI::App& parser = *parent.add_subcommand(verb.name, verb.summary);
    parser.group("Verbs");
    parser.set_help_flag("-h,--help", "Print this help");
    parser.formatter(std::make_shared<HelpFormatter>(verb.examples));
    parser.footer(verb.details);
    if (verb.verbs.empty()) {
        line.runs[before + verb.name] = verb.declare(parser);
    } else {
        parser.require_subcommand(1);
        for (Verb const& part : verb.verbs) add_verb(part, parser, before + verb.name + " ", line);
    }
}

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

ExitStatus usage_failure(std::string const& verb, std::string const& text) {
    const Messages messages(verb);
    messages.error(text);
    Messages::print("Try 'petrelradar " + (verb.empty() ? "" : verb + " ") + "--help'.\n");
    return ExitStatus::kUsage;
}

/** Does `work`, with every way in which it can end turned into a status. */
template <typename Work>
ExitStatus finish(std::string const& verb, Work work) {
    Console console{Output(STDOUT_FILENO), Messages(verb)};
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
    } catch (UsageError const& error) {
        return usage_failure(verb, error.what());
    } catch (std::exception const& error) {
        console.messages.error(error.what());
        return ExitStatus::kFailed;
    }
}

}  // namespace

std::vector<Verb::Example> first_examples(std::vector<Verb> const& verbs) {
    std::vector<Verb::Example> examples;
    for (Verb const& verb : verbs) {
        if (!verb.examples.empty()) examples.push_back(verb.examples.front());
    }
    return examples;
}

CommandLine make_command_line(std::vector<Verb> const& verbs) {
    CommandLine line;
    line.parser = std::make_unique<CLI::App>(kSummary, kName);
    line.parser->formatter(std::make_shared<HelpFormatter>(first_examples(verbs)));
    line.parser->footer(kDetails);
    line.parser->set_help_flag("-h,--help", "Print this help");
    line.parser->set_version_flag("--version", std::string(kName) + " " + PETRELRADAR_VERSION,
                                  "Print the program's version");
    line.parser->require_subcommand(1);
    for (Verb const& verb : verbs) add_verb(verb, *line.parser, "", line);
    return line;
}

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
