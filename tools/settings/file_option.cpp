#include "tools/settings/file_option.h"

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "tools/cli/options.h"

namespace Tools {

void add_settings_file(OptionParser& parser, std::string& file) {
    parser.add_text("--file", file, "FILE",
                    std::string("The settings file; without it, ") + kDefaultSettingsFile);
}

SettingsText load_settings(std::string const& file, Messages const& messages) {
    const SettingsFile settings(file.empty() ? kDefaultSettingsFile : file);
    if (!settings.exists() && !file.empty()) {
        throw Kit::InputError(Kit::printable(file) + ": No such file or directory");
    }
    if (!settings.exists()) {
        messages.note(std::string(kDefaultSettingsFile) +
                      ": not found; every setting has its default");
    }
    if (!settings.text().problem().empty()) throw Kit::InputError(settings.text().problem());
    for (std::string const& line : settings.text().repetitions()) messages.warn(line);
    return settings.text();
}

}  // namespace Tools
