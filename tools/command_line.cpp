#include "tools/command_line.h"

#include "tools/help.h"

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

}  // namespace Tools
