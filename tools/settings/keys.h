#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tools {

/** A setting that the recorders, or the reference host itself, understand. */
struct SettingKey {
    char const* name;
    /** Who reads it: "objects", "raw" or "diagnostics" recorder, two of them, or "host". */
    char const* reader;
    /** What the value counts; empty where it counts nothing. */
    char const* unit;
    char const* meaning;
    /** What the reference host does without the setting. */
    int32_t without;
    /** The values that make sense; the host refuses others, or they are as good as another. */
    int32_t lowest;
    int32_t highest;
};

/** Every setting, those of a recorder together. */
std::vector<SettingKey> const& setting_keys();

/** The setting of that name; null when nobody understands it. */
SettingKey const* find_setting_key(std::string const& name);

}  // namespace Tools
