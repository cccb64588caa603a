#include "tools/help_formatter.h"

#include <sstream>
#include <utility>

namespace Tools {

namespace {

constexpr size_t kColumnWidth = 26;
constexpr size_t kWidth = 80;

/** A name and what it means, side by side, with the meaning broken into lines between words. */
std::string entry(std::string const& name, std::string const& meaning) {
    std::string text;
    std::string line = "  " + name;
    if (line.size() >= kColumnWidth) {
        text = line + "\n";
        line.clear();
    }
    line.resize(kColumnWidth, ' ');
    std::istringstream words(meaning);
    size_t words_in_line = 0;
    for (std::string word; words >> word; ++words_in_line) {
        if (words_in_line > 0 && line.size() + 1 + word.size() > kWidth) {
            text += line + "\n";
            line.assign(kColumnWidth, ' ');
            words_in_line = 0;
        }
        line += (words_in_line > 0 ? " " : "") + word;
    }
    return text + line + "\n";
}

}  // namespace

HelpFormatter::HelpFormatter(std::vector<Verb::Example> examples) : examples_(std::move(examples)) {
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "VERB ...");
}

std::string HelpFormatter::make_help(CLI::App const* app, std::string name,
                                     CLI::AppFormatMode mode) const {
    std::string text = "Examples:\n";
    for (Verb::Example const& example : examples_) {
        text += "  petrelradar " + example.arguments + "\n      " + example.purpose + "\n";
    }
    text += "\n" + make_usage(app, std::move(name)) + "\n" + make_description(app);
    text += make_positionals(app) + make_groups(app, mode) + make_subcommands(app, mode);
    if (!app->get_footer().empty()) text += "\n" + make_footer(app);
    return text;
}

std::string HelpFormatter::make_option(CLI::Option const* option, bool is_positional) const {
    return entry(make_option_name(option, is_positional) + make_option_opts(option),
                 make_option_desc(option));
}

std::string HelpFormatter::make_subcommand(CLI::App const* verb) const {
    return entry(verb->get_name(), verb->get_description());
}

/** What stands behind an option's name: its argument, without the remarks on types and defaults. */
std::string HelpFormatter::make_option_opts(CLI::Option const* option) const {
    if (option->get_positional() || option->get_type_size() == 0) return "";
    return " " + option->get_type_name();
}

}  // namespace Tools
