#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Service {

/**
 * The settings of the service: what the group "Radar" of a key file holds. A copy, which changes
 * neither when the file does nor when somebody sets a value; looking a value up writes nothing.
 * A plain value.
 */
class Settings {
public:
    /** Settings with this table, read from `file`. */
    Settings(std::string file, std::unordered_map<std::string, int> table);

    /** The path of the file, whether it exists or not. */
    std::string const& file() const { return file_; }

    /** The value of `key`, or `absent` when the settings do not have it. */
    int value(std::string const& key, int absent) const;

    /**
     * The settings for the recorders in the order in which these are to get them, so that a
     * recorder is switched on last. Holds what is in the table, and "FileWriterEnabled" with 1 when
     * that is not.
     */
    std::vector<std::pair<std::string, int>> recorder_entries() const;

    /** The keys of the table that mean nothing to this service, sorted. */
    std::vector<std::string> unknown_keys() const;

private:
    std::string file_;
    std::unordered_map<std::string, int> table_;
};

/** Seconds without a frame after which the input counts as failed: the key and its default. */
constexpr char kWatchdogTimeoutKey[] = "WatchdogTimeout";
constexpr int kDefaultWatchdogTimeout = 2;

/** How many targets a frame may hold: the key and its default. */
constexpr char kTargetLimitKey[] = "TargetLimit";
constexpr int kDefaultTargetLimit = 128;

/**
 * Reads the settings from `file`, or, when that is empty, takes those that the process has read
 * from "/etc/radar/radar.conf" while it was loaded. Writes nothing.
 *
 * @throws Kit::InputError when `file` is missing, and when either file is no regular file, cannot
 * be read, is no key file, has a line outside a group, a value in the group "Radar" that is no
 *         integer, or a value that the service cannot work with.
 */
Settings load_settings(std::string const& file);

}  // namespace Service
