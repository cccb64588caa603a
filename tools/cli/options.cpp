#include "tools/cli/options.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string_view>

#include "kit/base/text.h"

namespace Tools {

namespace {

/** A validator's name begins so when the choices follow, for those who read the parser. */
constexpr std::string_view kChoices = "one of: ";

/** Without a description, which the help would print behind the option's name. */
CLI::Validator check(std::function<std::string(std::string&)> problem_of) {
    return CLI::Validator(std::move(problem_of), "");
}

bool is_count(std::string const& text) {
    uint64_t value = 0;
    char const* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && value > 0;
}

}  // namespace

CLI::Option* add_choice(CLI::App& parser, std::string const& name, std::string& value,
                        std::vector<std::string> const& choices, std::string const& description) {
    return parser.add_option(name, value, description + ": " + Kit::joined(choices, ", "))
        ->type_name("WORD")
        ->check(check([choices](std::string& word) -> std::string {
                    if (std::find(choices.begin(), choices.end(), word) != choices.end()) return "";
                    return "'" + word + "' is none of " + Kit::joined(choices, ", ");
                }).name(std::string(kChoices) + Kit::joined(choices, " ")));
}

std::vector<std::string> choices_of(CLI::Option& option) {
    CLI::Validator const* validator = nullptr;
    try {
        validator = option.get_validator(0);
    } catch (CLI::OptionNotFound const&) {
        return {};
    }
    std::string const& name = validator->get_name();
    if (name.rfind(kChoices, 0) != 0) return {};
    std::istringstream words(name.substr(kChoices.size()));
    std::vector<std::string> choices;
    for (std::string word; words >> word;) choices.push_back(word);
    return choices;
}

CLI::Option* add_count(CLI::App& parser, std::string const& name, uint64_t& value,
                       std::string const& description) {
    return parser.add_option(name, value, description)
        ->type_name("N")
        ->check(check([](std::string& text) -> std::string {
            return is_count(text) ? "" : "'" + text + "' is no whole number above 0";
        }));
}

}  // namespace Tools
