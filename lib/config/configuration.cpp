#include "config/configuration.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "config/key_file.h"
#include "config/setting_names.h"
#include "log/ilog.h"

namespace Radar {

namespace {

struct KeyListDeleter {
    void operator()(gchar** keys) const { g_strfreev(keys); }
};
using KeyList = std::unique_ptr<gchar*, KeyListDeleter>;

void log_problem(std::string const& what, KeyFileError const& error) {
    Petrel::ilog(1) << what << ": " << error.message() << std::endl;
}

}  // namespace

// A derived class's read() cannot be meant here: that part of the object does not exist yet.
Configuration::Configuration(std::string file) : path(std::move(file)) {
    Configuration::read();
}

Configuration::~Configuration() = default;

int Configuration::read() {
    const KeyFile file = make_key_file();
    KeyFileError error;
    if (!load_key_file(file, path, error)) {
        if (!error.is(kNoSuchFile)) log_problem("Could not read configuration from " + path, error);
        return -1;
    }

    gsize count = 0;
    // Without the group there is no list, and the count stays 0.
    const KeyList keys(
        g_key_file_get_keys(file.get(), settings_group.c_str(), &count, error.slot()));
    error.clear();
    for (gsize i = 0; i < count; ++i) {
        const std::string key = keys.get()[i];
        const int value =
            g_key_file_get_integer(file.get(), settings_group.c_str(), key.c_str(), error.slot());
        if (value == 0 && error) {
            log_problem("Could not read integer " + key + " from " + path, error);
            return -1;
        }
        conf[key] = value;
    }
    return 0;
}

int Configuration::write() {
    const KeyFile file = make_key_file();
    KeyFileError error;
    if (!load_key_file(file, path, error)) {
        if (!error.is(kNoSuchFile)) {
            log_problem("Could not read configuration from " + path, error);
            return -1;
        }
        error.clear();
    }

    for (auto const& [key, value] : conf) {
        g_key_file_set_integer(file.get(), settings_group.c_str(), key.c_str(), value);
    }
    if (g_key_file_save_to_file(file.get(), path.c_str(), error.slot()) == FALSE) {
        log_problem("Could not save configuration to " + path, error);
        return -1;
    }
    return 0;
}

int Configuration::get(std::string key, int def) {
    try {
        return conf.at(key);
    } catch (std::out_of_range const&) {
        set(key, def);
        return def;
    }
}

void Configuration::set(std::string key, int value) {
    int& stored = conf[key];
    if (stored == value) return;
    stored = value;
    write();
}

void Configuration::add(std::string key, int value) {
    try {
        conf.at(key);
    } catch (std::out_of_range const&) {
        set(key, value);
    }
}

}  // namespace Radar

std::ostream& operator<<(std::ostream& os, const std::unordered_map<std::string, int>& map) {
    os << "ConfMap:" << std::endl;
    for (auto const& [key, value] : map) {
        os << "conf: "
           << " key: " << key << " = " << value << std::endl;
    }
    return os;
}
