#pragma once

#include <string>
#include <unordered_map>
#include <vector>

namespace Service {

/**
 * The settings of the service: what the group "Radar" of a key file holds, with the defaults of
 * Kit::all_settings(). A copy, which changes neither when the file does nor when somebody sets a
 * value; looking a value up writes nothing. A plain value.
 */
class Settings {
public:
    /**
     * Settings with this table, read from `file`.
     *
     * @param warnings what is questionable about the file, a line each.
     */
    Settings(std::string file, std::unordered_map<std::string, int> table,
             std::vector<std::string> warnings = {});

    /** The path of the file, whether it exists or not. */
    std::string const& file() const { return file_; }

    /** The value of `key`, a setting of Kit::all_settings(), or its default. */
    int value(std::string const& key) const;

    /** The keys of the table that mean nothing to this service, sorted. */
    std::vector<std::string> unknown_keys() const;

    /**
     * What is to be logged about the settings, a line each: unknown keys, of which the first few
     * are named, values outside of their range that the library takes, and settings that stand in
     * another group.
     */
    std::vector<std::string> const& warnings() const { return warnings_; }

private:
    std::string file_;
    std::unordered_map<std::string, int> table_;
    std::vector<std::string> warnings_;
};

/**
 * Reads the settings from `file`, or, when that is empty, takes those that the process has read
 * from "/etc/radar/radar.conf" while it was loaded. Writes nothing.
 *
 * @throws Kit::InputError when `file` is missing, and when either file is no regular file, cannot
 *         be read, is no key file, has a line outside a group, a value in the group "Radar" that is
 *         no integer, or a value outside of its range that the service cannot work with; the
 *         message names the key, the value and the range.
 */
Settings load_settings(std::string const& file);

}  // namespace Service
