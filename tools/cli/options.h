#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Tools {

/** An option or an argument as help, manual pages and completion show it. */
struct OptionText {
    std::vector<std::string> names;  // "-o", "--output"; one without dashes for an argument
    std::string value;               // what follows it: "FILE"; empty: nothing
    std::string description;
    std::vector<std::string> choices;  // all values that it can have; empty: any

    /** Whether the value is the name of a file or a folder. */
    bool takes_file() const;
};

/** An option or an argument that was declared. Valid while the command line lives. */
class Option {
public:
    /** From now on the command line must have it. */
    Option& require();

    /** From now on it is an error without `other`. */
    Option& require_with(Option const& other);

    /** Whether the command line has it. Known after parsing. */
    bool is_given() const;

private:
    friend class OptionParser;
    explicit Option(CLI::Option& option) : option_(&option) {}

    CLI::Option* option_;
};

/**
 * What a verb declares its arguments and options with, so that only those sources need the parser's
 * header that parse. Values that a function takes by reference outlive the command line; they are
 * set when it is parsed. A NAME without dashes declares an argument. One thread at a time.
 */
class OptionParser {
public:
    /** Takes the text of a value; returns what is wrong with it, or an empty text. */
    using Take = std::function<std::string(std::string const& text)>;

    /** @param app the parser, which outlives the object. */
    explicit OptionParser(CLI::App& app);

    /** An option without a value. */
    Option add_flag(std::string const& name, bool& value, std::string const& description);

    /** An argument of any text, or several; completion offers `choices`, which are not checked. */
    Option add_argument(std::string const& name, std::string& value,
                        std::string const& description);
    Option add_arguments(std::string const& name, std::vector<std::string>& values,
                         std::string const& description, std::vector<std::string> choices = {});

    /** An option of any text, which the help calls `value_name`; or one that may be repeated. */
    Option add_text(std::string const& name, std::string& value, std::string const& value_name,
                    std::string const& description);
    Option add_texts(std::string const& name, std::vector<std::string>& values,
                     std::string const& value_name, std::string const& description);

    /** An option or an argument whose value is one of `choices`, "--format" for example. */
    Option add_choice(std::string const& name, std::string& value,
                      std::vector<std::string> const& choices, std::string const& description);

    /** An option N whose value is a whole number above 0. */
    Option add_count(std::string const& name, uint64_t& value, std::string const& description);

    /** An option whose value `take` checks and keeps. */
    Option add_value(std::string const& name, std::string const& value_name, Take take,
                     std::string const& description);

    /** All that was declared, in order. */
    std::vector<OptionText> const& arguments() const { return arguments_; }
    std::vector<OptionText> const& options() const { return options_; }

private:
    Option add(std::string const& names, std::string const& value_name,
               std::vector<std::string> choices, CLI::Option& option);

    CLI::App& app_;
    std::vector<OptionText> arguments_;
    std::vector<OptionText> options_;
};

}  // namespace Tools
