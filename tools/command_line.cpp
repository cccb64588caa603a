#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <map>

#include "kit/base/text.h"
#include "tools/cli/options.h"
#include "tools/help_formatter.h"

namespace Tools {

namespace {

constexpr char kName[] = "petrelradar";
constexpr char kSummary[] = "Work with a radar's recordings and live streams.";
constexpr char kDetails[] =
    "Data goes to standard output, everything else to standard error.\n"
    "Exit status: 0 all well; 1 failed; 2 usage; 3 finished, but something was lost,\n"
    "skipped or damaged.";
constexpr char kHelpText[] = "Print this help";
constexpr char kVersionText[] = "Print the program's version";

CommandNode make_node(std::string const& name, std::string const& path,
                      std::string const& summary) {
    return {name, path, summary, {{{"-h", "--help"}, "", kHelpText, {}}}, {}, {}};
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

/** Whether a verb has to follow, as after "petrelradar" and "petrelradar regs". */
bool needs_verb(CLI::App const& parser) {
    return parser.get_require_subcommand_min() > 0;
}

/** What is wrong with the arguments. */
std::string problem(CLI::App const& parser, CLI::ParseError const& error) {
    const std::vector<std::string> others = parser.remaining(true);
    if (!needs_verb(chosen_parser(parser)) || others.empty()) return error.what();
    return (others.front()[0] == '-' ? "unknown option " : "unknown verb ") +
           Kit::quoted(others.front());
}

}  // namespace

struct CommandLine::Parser {
    /** Adds a verb to the verbs of `parent`. */
    void add(Verb const& verb, CLI::App& parent, CommandNode& parent_node) {
        CLI::App& parser = *parent.add_subcommand(verb.name, verb.summary);
        parser.group("Verbs");
        parser.set_help_flag("-h,--help", kHelpText);
        parser.formatter(std::make_shared<HelpFormatter>(verb.examples));
        parser.footer(verb.details);
        const std::string before = parent_node.path.empty() ? "" : parent_node.path + " ";
        CommandNode node = make_node(verb.name, before + verb.name, verb.summary);
        if (verb.verbs.empty()) {
            OptionParser options(parser);
            runs[node.path] = verb.declare(options);
            node.arguments = options.arguments();
            node.options.insert(node.options.end(), options.options().begin(),
                                options.options().end());
        } else {
            parser.require_subcommand(1);
            for (Verb const& part : verb.verbs) add(part, parser, node);
        }
        parent_node.verbs.push_back(std::move(node));
    }

    CLI::App app{kSummary, kName};
    std::map<std::string, Run> runs;  // by verb
    CommandNode tree = make_node(kName, "", kSummary);
};

CommandLine::CommandLine(std::vector<Verb> const& verbs) : parser_(std::make_unique<Parser>()) {
    CLI::App& app = parser_->app;
    app.formatter(std::make_shared<HelpFormatter>(first_examples(verbs)));
    app.footer(kDetails);
    app.set_help_flag("-h,--help", kHelpText);
    app.set_version_flag("--version", std::string(kName) + " " + PETRELRADAR_VERSION, kVersionText);
    app.require_subcommand(1);
    parser_->tree.options.push_back({{"--version"}, "", kVersionText, {}});
    for (Verb const& verb : verbs) parser_->add(verb, app, parser_->tree);
}

CommandLine::~CommandLine() = default;

CommandNode const& CommandLine::tree() const {
    return parser_->tree;
}

ParsedLine CommandLine::parse(int argc, char const* const* argv) {
    CLI::App& app = parser_->app;
    try {
        app.parse(argc, argv);
    } catch (CLI::CallForHelp const&) {
        return {ParsedLine::Kind::kPrint, "", app.help(), {}};
    } catch (CLI::CallForVersion const& version) {
        return {ParsedLine::Kind::kPrint, "", std::string(version.what()) + "\n", {}};
    } catch (CLI::ParseError const& error) {
        // Without a verb where one has to be, the help says more than a message.
        if (needs_verb(chosen_parser(app)) && app.remaining(true).empty()) {
            return {ParsedLine::Kind::kNoVerb, chosen_verb(app), app.help(), {}};
        }
        return {ParsedLine::Kind::kProblem, chosen_verb(app), problem(app, error), {}};
    }
    const std::string verb = chosen_verb(app);
    return {ParsedLine::Kind::kRun, verb, "", parser_->runs.at(verb)};
}

CommandNode command_tree(std::vector<Verb> const& verbs) {
    return CommandLine(verbs).tree();
}

}  // namespace Tools
