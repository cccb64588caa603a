#include "service/settings.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "config/configuration.h"
#include "kit/base/errno_text.h"
#include "kit/base/glib_pointers.h"
#include "kit/base/input_error.h"

namespace Service {

namespace {

constexpr char kDefaultFile[] = "/etc/radar/radar.conf";
constexpr char kGroup[] = "Radar";

/** Every key of a recorder. Where a file goes, how long, how large and how many, then on or off. */
constexpr std::array<char const*, 13> kRecorderKeys = {
    "FileWriterLocation",
    "DataFileWriterLocation",
    "FileWriterFileTime",
    "DataFileWriterFileTime",
    "DiagnosticFileWriterFileTime",
    "FileWriterMaxFileSize",
    "DiagnosticFileWriterMaxFileSize",
    "FileWriterMaxFileCount",
    "DataFileWriterMaxFileCount",
    "DiagnosticFileWriterMaxFileCount",
    "FileWriterEnabled",
    "DataFileWriterEnabled",
    "DiagnosticFileWriterEnabled",
};

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

/** Looks at the whole file before the settings store does, which leaves out what it cannot read. */
void check_file(std::string const& file) {
    check_kind(file);
    const Kit::KeyFilePointer keys(g_key_file_new());
    GError* error = nullptr;
    g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, &error);
    refuse_if(error, file);
    if (g_key_file_has_group(keys.get(), kGroup) == FALSE) return;

    gsize count = 0;
    const Kit::TextListPointer names(g_key_file_get_keys(keys.get(), kGroup, &count, &error));
    refuse_if(error, file);
    for (gsize i = 0; i < count; ++i) {
        g_key_file_get_integer(keys.get(), kGroup, names.get()[i], &error);
        refuse_if(error, file);
    }
}

void check_range(Settings const& settings, char const* key, int absent, int lowest, int highest) {
    const int value = settings.value(key, absent);
    if (value >= lowest && value <= highest) return;
    throw Kit::InputError(settings.file() + ": " + key + " is " + std::to_string(value) +
                          ", not between " + std::to_string(lowest) + " and " +
                          std::to_string(highest));
}

Settings checked(Settings settings) {
    constexpr int kLongestTimeout = 86400;
    constexpr int kHighestLimit = 65536;
    check_range(settings, kWatchdogTimeoutKey, kDefaultWatchdogTimeout, 1, kLongestTimeout);
    check_range(settings, kTargetLimitKey, kDefaultTargetLimit, 1, kHighestLimit);
    return settings;
}

}  // namespace

Settings::Settings(std::string file, std::unordered_map<std::string, int> table)
    : file_(std::move(file)), table_(std::move(table)) {}

int Settings::value(std::string const& key, int absent) const {
    const auto found = table_.find(key);
    return found != table_.end() ? found->second : absent;
}

std::vector<std::pair<std::string, int>> Settings::recorder_entries() const {
    std::vector<std::pair<std::string, int>> entries;
    for (char const* const key : kRecorderKeys) {
        const auto found = table_.find(key);
        if (found != table_.end()) {
            entries.emplace_back(key, found->second);
        } else if (std::string(key) == "FileWriterEnabled") {
            entries.emplace_back(key, 1);
        }
    }
    return entries;
}

std::vector<std::string> Settings::unknown_keys() const {
    std::vector<std::string> unknown;
    for (auto const& [key, value] : table_) {
        const bool of_a_recorder =
            std::find(kRecorderKeys.begin(), kRecorderKeys.end(), key) != kRecorderKeys.end();
        if (!of_a_recorder && key != kWatchdogTimeoutKey && key != kTargetLimitKey) {
            unknown.push_back(key);
        }
    }
    std::sort(unknown.begin(), unknown.end());
    return unknown;
}

Settings load_settings(std::string const& file) {
    if (!file.empty()) {
        check_file(file);
        return checked(Settings(file, Radar::Configuration(file).conf));
    }
    struct stat status = {};
    if (stat(kDefaultFile, &status) == 0 || errno != ENOENT) check_file(kDefaultFile);
    return checked(Settings(kDefaultFile, Radar::Configuration::instance->conf));
}

}  // namespace Service
