#include <memory>
#include <string>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/settings/table.h"
#include "tools/cli/options.h"
#include "tools/settings/file_option.h"
#include "tools/settings/settings.h"

namespace Tools {

namespace {

struct Options {
    std::string file;
    std::string name;
};

ExitStatus run(Options const& options, Console& console) {
    const SettingsText settings = load_settings(options.file, console.messages);
    Kit::Setting const* const key = Kit::find_setting(options.name);
    if (const auto value = settings.value(options.name)) {
        console.out.write(std::to_string(*value) + "\n");
    } else if (key != nullptr) {
        console.messages.note(options.name + " is not set; this is its default");
        console.out.write(std::to_string(key->default_value) + "\n");
    } else {
        throw Kit::InputError(Kit::printable(options.name) + " is not set, and has no default");
    }
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_argument("SETTING", options->name, "The setting, by name").require();
    add_settings_file(parser, options->file);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb settings_get_verb() {
    return {
        "get",
        "Print the value of a setting",
        {{"settings get FileWriterFileTime", "how long a file is written"},
         {"settings get TargetLimit --file my.conf", "a setting of another file"}},
        "Prints the value, or the default of a setting that is not in the file; then a line on\n"
        "standard error says so.",
        declare};
}

}  // namespace Tools
