#include "tools/options.h"

#include <algorithm>
#include <charconv>

namespace Tools {

namespace {

/** Without a description, which the help would print behind the option's name. */
CLI::Validator check(std::function<std::string(std::string&)> problem_of) {
    return CLI::Validator(std::move(problem_of), "");
}

std::string joined(std::vector<std::string> const& words) {
    std::string text;
    for (std::string const& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
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
    return parser.add_option(name, value, description + ": " + joined(choices))
        ->type_name("WORD")
        ->check(check([choices](std::string& word) -> std::string {
            if (std::find(choices.begin(), choices.end(), word) != choices.end()) return "";
            return "'" + word + "' is none of " + joined(choices);
        }));
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
