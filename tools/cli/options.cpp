#include "tools/cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "kit/base/text.h"
#include "kit/base/whole_number.h"

namespace Tools {

namespace {

/** Without a description, which the help would print after the option's name. */
CLI::Validator checked_by(OptionParser::Take take) {
    return CLI::Validator([take = std::move(take)](std::string& text) { return take(text); }, "");
}

/** "-o,--output" as "-o" and "--output". */
std::vector<std::string> parted(std::string const& names) {
    std::vector<std::string> parts;
    std::istringstream text(names);
    for (std::string name; std::getline(text, name, ',');) parts.push_back(name);
    return parts;
}

}  // namespace

bool OptionText::takes_file() const {
    constexpr char const* kFiles[] = {"SOURCE", "FILE", "DIR", "PATH", "A", "B"};
    return std::find(std::begin(kFiles), std::end(kFiles), value) != std::end(kFiles);
}

Option& Option::require() {
    option_->required();
    return *this;
}

Option& Option::require_with(Option const& other) {
    option_->needs(other.option_);
    return *this;
}

bool Option::is_given() const {
    return option_->count() > 0;
}

OptionParser::OptionParser(CLI::App& app) : app_(app) {}

Option OptionParser::add(std::string const& names, std::string const& value_name,
                         std::vector<std::string> choices, CLI::Option& option) {
    const bool is_argument = names.front() != '-';
    // An argument is shown by its name, and a flag has no value.
    if (!is_argument && !value_name.empty()) option.type_name(value_name);
    (is_argument ? arguments_ : options_)
        .push_back({parted(names), is_argument ? names : value_name, option.get_description(),
                    std::move(choices)});
    return Option(option);
}

Option OptionParser::add_flag(std::string const& name, bool& value,
                              std::string const& description) {
    return add(name, "", {}, *app_.add_flag(name, value, description));
}

Option OptionParser::add_argument(std::string const& name, std::string& value,
                                  std::string const& description) {
    return add(name, "", {}, *app_.add_option(name, value, description));
}

Option OptionParser::add_arguments(std::string const& name, std::vector<std::string>& values,
                                   std::string const& description,
                                   std::vector<std::string> choices) {
    return add(name, "", std::move(choices), *app_.add_option(name, values, description));
}

Option OptionParser::add_text(std::string const& name, std::string& value,
                              std::string const& value_name, std::string const& description) {
    return add(name, value_name, {}, *app_.add_option(name, value, description));
}

Option OptionParser::add_texts(std::string const& name, std::vector<std::string>& values,
                               std::string const& value_name, std::string const& description) {
    CLI::Option& option = *app_.add_option(name, values, description);
    option.allow_extra_args(false);
    return add(name, value_name, {}, option);
}

Option OptionParser::add_choice(std::string const& name, std::string& value,
                                std::vector<std::string> const& choices,
                                std::string const& description) {
    const std::string list = Kit::joined(choices, ", ");
    CLI::Option& option = *app_.add_option(name, value, description + ": " + list);
    option.check(checked_by([choices, list](std::string const& word) -> std::string {
        if (std::find(choices.begin(), choices.end(), word) != choices.end()) return "";
        return "unknown value " + Kit::quoted(word) + " (expected one of " + list + ")";
    }));
    return add(name, "WORD", choices, option);
}

Option OptionParser::add_count(std::string const& name, uint64_t& value,
                               std::string const& description) {
    return add_value(
        name, "N",
        [&value](std::string const& text) -> std::string {
            const auto number = Kit::whole_number(text);
            if (!number || *number == 0)
                return Kit::quoted(text) + " is not a whole number above 0";
            value = *number;
            return "";
        },
        description);
}

Option OptionParser::add_value(std::string const& name, std::string const& value_name, Take take,
                               std::string const& description) {
    CLI::Option& option = *app_.add_option_function<std::string>(
        name, [](std::string const&) {}, description);
    option.check(checked_by(std::move(take)));
    return add(name, value_name, {}, option);
}

}  // namespace Tools
