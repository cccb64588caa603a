#include "config/analytics.h"

#include <sys/stat.h>

#include <memory>

#include "config/key_file.h"
#include "config/setting_names.h"
#include "log/ilog.h"

namespace {

using Radar::KeyFile;
using Radar::KeyFileError;

struct TextDeleter {
    void operator()(gchar* text) const { g_free(text); }
};

/** Returns the opened file, or null. */
KeyFile load_analytics() {
    KeyFile file = Radar::make_key_file();
    KeyFileError error;
    if (Radar::load_key_file(file, Radar::analytics_file, error)) return file;
    if (!error.is(Radar::kNoSuchFile)) {
        Petrel::ilog(1) << "Failed to load key file " << Radar::analytics_file << ": "
                        << error.message() << std::endl;
    }
    return nullptr;
}

/** Whether the key could not be read for a reason other than its absence; logs that reason. */
bool failed_to_read(std::string const& key, KeyFileError const& error) {
    if (!error || error.is(Radar::kNoSuchKey)) return false;
    Petrel::ilog(1) << "Failed to read " << key << ": " << error.message() << std::endl;
    return true;
}

double get_double(std::string const& key) {
    const KeyFile file = load_analytics();
    if (!file) return 0.0;
    KeyFileError error;
    const double value = g_key_file_get_double(file.get(), Radar::analytics_group.c_str(),
                                               key.c_str(), error.slot());
    failed_to_read(key, error);  // GLib's value for a failure, 0.0, is the result then
    return value;
}

}  // namespace

int get_sensitivity() {
    constexpr int kLow = 0;
    constexpr int kMedium = 1;
    constexpr int kHigh = 2;

    const KeyFile file = load_analytics();
    if (!file) return kMedium;
    KeyFileError error;
    const std::unique_ptr<gchar, TextDeleter> read(g_key_file_get_string(
        file.get(), Radar::analytics_group.c_str(), Radar::sensitivity_key.c_str(), error.slot()));
    if (failed_to_read(Radar::sensitivity_key, error)) return kMedium;

    // Unlike a missing file, a file without the key means low.
    const std::string text = read ? read.get() : "low";
    if (text == "low") return kLow;
    return text == "high" ? kHigh : kMedium;
}

double get_height() {
    return get_double(Radar::height_key);
}

double get_tilt() {
    return get_double(Radar::tilt_key);
}

bool file_exist(std::string path) {
    struct stat status = {};
    return !path.empty() && stat(path.c_str(), &status) == 0;
}
