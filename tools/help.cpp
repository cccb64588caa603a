#include "tools/help.h"

#include <utility>

namespace Tools {

namespace {

constexpr std::size_t kColumnWidth = 26;

}  // namespace

HelpFormatter::HelpFormatter(std::vector<Verb::Example> examples_)
    : examples(std::move(examples_)) {
    column_width(kColumnWidth);
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "VERB ...");
}

std::string HelpFormatter::make_help(CLI::App const* app, std::string name,
                                     CLI::AppFormatMode mode) const {
    std::string text = "Examples:\n";
    for (Verb::Example const& example : examples) {
        text += "  petrelradar " + example.arguments + "\n      " + example.purpose + "\n";
    }
    text += "\n" + make_usage(app, std::move(name)) + "\n" + make_description(app);
    text += make_positionals(app) + make_groups(app, mode) + make_subcommands(app, mode);
    if (!app->get_footer().empty()) text += "\n" + make_footer(app);
    return text;
}

/** What stands behind an option's name: its argument, without the remarks on types and defaults. */
std::string HelpFormatter::make_option_opts(CLI::Option const* option) const {
    if (option->get_positional() || option->get_type_size() == 0) return "";
    return " " + option->get_type_name();
}

}  // namespace Tools
