#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kit {

/** The end of a complete file's name. Stands on storage media and never changes. */
constexpr std::string_view kCompletedSuffix = ".data";

/**
 * The name that a recorder gives to a file: prefix_DDMMYY_HHMMSS_mmm, the local time at which the
 * file was begun, and kCompletedSuffix after it once the file is complete.
 */
struct RecordingName {
    std::string prefix;
    int year = 0;  // the full number, such as 2025
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    /**
     * The end of an earlier, longer name, which a recorder keeps when it changes to a directory
     * with a shorter path. Usually empty.
     */
    std::string surplus;
    bool complete = false;
};

/** Whether a file of this name is complete, so that no recorder writes it any more. */
bool is_completed_name(std::string_view file_name);

/** Whether the recorder with this prefix gives such a name, to a complete file or another. */
bool is_recording_name(std::string_view file_name, std::string_view prefix);

/** Parses a file's name, without its directory; none when no recorder gives such a name. */
std::optional<RecordingName> parse_recording_name(std::string_view file_name);

/** The name as a recorder writes it, without a directory. parse_recording_name() reverses it. */
std::string text_of(RecordingName const& name);

/**
 * The name, complete and without surplus, of a file that was begun at `seconds` since 1970 UTC and
 * `millisecond`, if the time zone of this machine is the recorder's.
 */
RecordingName name_of_time(std::string const& prefix, int64_t seconds, int millisecond);

/** The name of the file at `path`, without the directory. */
std::string_view file_name_of(std::string_view path);

/**
 * When the file was begun, in s since 1970 UTC, if the time zone of this machine is the recorder's.
 * An hour that the clock went through twice counts as the first time.
 */
int64_t begin_of(RecordingName const& name);

/** The time in the name in s since 1970 UTC, if the recorder's time zone is UTC. */
int64_t begin_as_utc(RecordingName const& name);

}  // namespace Kit
