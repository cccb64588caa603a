#include "service/settings.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "config/configuration.h"
#include "kit/base/errno_text.h"
#include "kit/base/glib_pointers.h"
#include "kit/base/input_error.h"
#include "kit/settings/table.h"

namespace Service {

namespace {

/** How many unknown keys are named in the log. */
constexpr size_t kMostNamed = 8;

/** Throws with GLib's message when `error` is set. */
void refuse_if(GError* error, std::string const& file) {
    if (error == nullptr) return;
    std::string message = Kit::GLibErrorPointer(error)->message;
    std::replace(message.begin(), message.end(), '\n', ' ');
    throw Kit::InputError(file + ": " + message);
}

void check_kind(std::string const& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0) {
        throw Kit::InputError(file + ": " + Kit::errno_text(errno));
    }
    // Opening a FIFO would wait for its writer.
    if (!S_ISREG(status.st_mode)) throw Kit::InputError(file + ": not a regular file");
}

/** The settings of this service that stand in a group in which it does not look for them. */
void find_misplaced(GKeyFile* keys, std::string const& file, std::vector<std::string>& warnings) {
    const Kit::TextListPointer groups(g_key_file_get_groups(keys, nullptr));
    for (gchar** group = groups.get(); *group != nullptr; ++group) {
        if (std::strcmp(*group, Kit::kSettingsGroup) == 0) continue;
        for (Kit::Setting const& setting : Kit::all_settings()) {
            if (g_key_file_has_key(keys, *group, setting.name, nullptr) == FALSE) continue;
            warnings.push_back(file + ": " + setting.name + " stands in the group [" + *group +
                               "] and is ignored: move it to [" + Kit::kSettingsGroup + "]");
        }
    }
}

/** Checks the whole file before the settings store reads it, which skips what it cannot read. */
void check_file(std::string const& file, std::vector<std::string>& warnings) {
    check_kind(file);
    const Kit::KeyFilePointer keys(g_key_file_new());
    GError* error = nullptr;
    g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, &error);
    refuse_if(error, file);
    find_misplaced(keys.get(), file, warnings);
    if (g_key_file_has_group(keys.get(), Kit::kSettingsGroup) == FALSE) return;

    gsize count = 0;
    const Kit::TextListPointer names(
        g_key_file_get_keys(keys.get(), Kit::kSettingsGroup, &count, &error));
    refuse_if(error, file);
    for (gsize i = 0; i < count; ++i) {
        g_key_file_get_integer(keys.get(), Kit::kSettingsGroup, names.get()[i], &error);
        refuse_if(error, file);
    }
}

void check_range(std::string const& file, Kit::Setting const& setting, int value,
                 std::vector<std::string>& warnings) {
    if (setting.accepts(value)) return;
    const std::string finding = file + ": " + Kit::outside_of_range(setting, value);
    if (setting.outside == Kit::Setting::Outside::kRefused) throw Kit::InputError(finding);
    warnings.push_back(finding);
}

void name_unknown(Settings const& settings, std::vector<std::string>& warnings) {
    const std::vector<std::string> unknown = settings.unknown_keys();
    const size_t named = std::min(unknown.size(), kMostNamed);
    for (size_t i = 0; i < named; ++i) {
        warnings.push_back(settings.file() + ": no such setting: " + unknown[i]);
    }
    if (named == unknown.size()) return;
    warnings.push_back(settings.file() + ": " + std::to_string(unknown.size() - named) +
                       " more settings that do not exist");
}

Settings checked(std::string const& file, std::unordered_map<std::string, int> const& table,
                 std::vector<std::string> warnings) {
    for (Kit::Setting const& setting : Kit::all_settings()) {
        const auto found = table.find(setting.name);
        if (found != table.end()) check_range(file, setting, found->second, warnings);
    }
    name_unknown(Settings(file, table), warnings);
    return Settings(file, table, std::move(warnings));
}

}  // namespace

Settings::Settings(std::string file, std::unordered_map<std::string, int> table,
                   std::vector<std::string> warnings)
    : file_(std::move(file)), table_(std::move(table)), warnings_(std::move(warnings)) {}

int Settings::value(std::string const& key) const {
    const auto found = table_.find(key);
    if (found != table_.end()) return found->second;
    Kit::Setting const* const setting = Kit::find_setting(key);
    if (setting == nullptr) throw std::logic_error("no such setting: " + key);
    return setting->default_value;
}

std::vector<std::string> Settings::unknown_keys() const {
    std::vector<std::string> unknown;
    for (auto const& [key, value] : table_) {
        if (Kit::find_setting(key) == nullptr) unknown.push_back(key);
    }
    std::sort(unknown.begin(), unknown.end());
    return unknown;
}

Settings load_settings(std::string const& file) {
    std::vector<std::string> warnings;
    if (!file.empty()) {
        check_file(file, warnings);
        return checked(file, Radar::Configuration(file).conf, std::move(warnings));
    }
    struct stat status = {};
    if (stat(Kit::kSettingsFile, &status) == 0 || errno != ENOENT) {
        check_file(Kit::kSettingsFile, warnings);
    }
    return checked(Kit::kSettingsFile, Radar::Configuration::instance->conf, std::move(warnings));
}

}  // namespace Service
