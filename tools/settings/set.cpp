#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "kit/settings/table.h"
#include "tools/cli/options.h"
#include "tools/settings/file_option.h"
#include "tools/settings/settings.h"

namespace Tools {

namespace {

struct Options {
    std::string file;
    std::vector<std::string> assignments;
    bool force = false;
};

struct Assignment {
    std::string name;
    int32_t value;
};

/** What a key file takes as a key without a question. */
bool is_key(std::string const& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '-' || character == '_' ||
               character == '.';
    });
}

Assignment parse_assignment(std::string const& text) {
    const size_t sign = text.find('=');
    if (sign == std::string::npos) {
        throw Kit::UsageError(Kit::quoted(text) + " is not written SETTING=VALUE");
    }
    Assignment made = {text.substr(0, sign), 0};
    if (!is_key(made.name)) {
        throw Kit::UsageError(Kit::quoted(made.name) + " is not a name of a setting");
    }
    const std::string value = text.substr(sign + 1);
    char const* const end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, made.value);
    if (result.ec != std::errc() || result.ptr != end) {
        throw Kit::UsageError(made.name + ": " + Kit::quoted(value) +
                              " is not an integer from -2147483648 to 2147483647");
    }
    return made;
}

void check_sense(Assignment const& assignment) {
    Kit::Setting const* const key = Kit::find_setting(assignment.name);
    if (key == nullptr) {
        throw Kit::InputError("unknown setting " + Kit::quoted(assignment.name) +
                              " (use --force to set it)");
    }
    if (assignment.value >= key->lowest && assignment.value <= key->highest) return;
    throw Kit::InputError(fmt::format("{} takes {} to {}, not {} (use --force to set it)",
                                      assignment.name, key->lowest, key->highest,
                                      assignment.value));
}

/** Changes the text. Returns one line for what changed; empty when the value is there already. */
std::string apply(Assignment const& assignment, SettingsText& text) {
    const auto before = text.value(assignment.name);
    if (before && *before == assignment.value) return "";
    text.set(assignment.name, assignment.value);
    return fmt::format("{}: {} -> {}\n", assignment.name,
                       before ? std::to_string(*before) : "not set", assignment.value);
}

ExitStatus run(Options const& options, Console& console) {
    std::vector<Assignment> assignments;
    for (std::string const& text : options.assignments) {
        assignments.push_back(parse_assignment(text));
        if (!options.force) check_sense(assignments.back());
    }
    const std::string path = options.file.empty() ? kDefaultSettingsFile : options.file;
    SettingsFile file(path);
    std::string changes;
    for (Assignment const& assignment : assignments) {
        const std::string change = apply(assignment, file.text());
        changes += change;
        if (!change.empty()) continue;
        console.messages.note(fmt::format("{} is {} already", assignment.name, assignment.value));
    }
    if (!file.text().problem().empty()) throw Kit::InputError(file.text().problem());
    for (std::string const& line : file.text().repetitions()) console.messages.warn(line);
    if (changes.empty()) return ExitStatus::kOk;
    file.save();
    if (!file.exists()) console.messages.note(Kit::printable(path) + " is new");
    console.out.write(changes);
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_arguments("SETTING", options->assignments, "NAME=VALUE: a setting and its new value")
        .require();
    parser.add_flag("--force", options->force, "Also set unknown settings and values out of range");
    add_settings_file(parser, options->file);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb settings_set_verb() {
    return {"set",
            "Change settings",
            {{"settings set FileWriterFileTime=60", "files of a minute"},
             {"settings set FileWriterLocation=1 DataFileWriterEnabled=1 --file my.conf",
              "two settings of another file"}},
            "Prints what changed. Comments, other groups and the order of the file stay; a file\n"
            "that a service could not read is refused. All settings are changed, or none. The\n"
            "service takes them when it starts the next time.",
            declare};
}

}  // namespace Tools
