#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Kit {

/** The one group of a settings file that holds integer settings. */
constexpr char kSettingsGroup[] = "Radar";

/** Where a radar service reads its settings when nobody names another file. */
constexpr char kSettingsFile[] = "/etc/radar/radar.conf";

/** One setting that the reference service understands. */
struct Setting {
    /** What a service does with a value outside of the range. */
    enum class Outside {
        kRefused,  // does not start
        kWarned    // takes it as the library does, and says so
    };

    char const* name;
    /** Who reads it: "objects", "raw" or "diagnostics" recorder, two of them, or "host". */
    char const* reader;
    /** What the value counts; empty where it counts nothing. */
    char const* unit;
    char const* meaning;
    /** The value without the setting. */
    int32_t default_value;
    /** The range. */
    int32_t lowest;
    int32_t highest;
    Outside outside;
    /** Whether a running service takes a new value when it reads its settings again. */
    bool reloadable;

    bool accepts(int32_t value) const { return value >= lowest && value <= highest; }
};

/** Every setting, those of a recorder together. */
std::vector<Setting> const& all_settings();

/** The setting of that name; null when nobody understands it. */
Setting const* find_setting(std::string const& name);

/** "FileWriterLocation is 7, not between 0 and 1" */
std::string outside_of_range(Setting const& setting, int32_t value);

}  // namespace Kit
