#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kit/recording/format.h"
#include "kit/recording/name.h"

namespace Kit {

/** A recorded file, by its name and its first bytes. */
struct RecordingFile {
    std::string path;
    /** None when no recorder gave the file its name, as after a repair of the file system. */
    std::optional<RecordingName> name;
    /** None when the file is shorter or has other first bytes. */
    std::optional<RecordingHeader> header;
    /** Of the first record; none when there is no record, or raw data. */
    std::optional<uint32_t> tag;
    /** Whether something that is no record follows the header: raw data, or damage. */
    bool raw = false;
    uint64_t size = 0;
    /** Why the file could not be read; empty when it could. */
    std::string problem;

    /** Whether the recorder has not completed the file: its end may be missing. */
    bool unfinished() const { return name && !name->complete; }
    /** When the file was begun, in ms since 1970 UTC: from the header, or else from the name. */
    int64_t begin_ms() const;
};

/** Examines the file at `path`, of any kind. Does not read from a FIFO. Any thread. */
RecordingFile examine_recording(std::string const& path);

/**
 * The recorded files at `path`: the file itself, or of a directory the regular files whose name or
 * first bytes are those of a recorded file, in order of the time at which they were begun.
 *
 * @throws InputError when `path` cannot be read.
 */
std::vector<RecordingFile> list_recordings(std::string const& path);

/**
 * The recorders that wrote the records in `files`, each as its prefix and tag: "radar 0xFEED0007".
 * Files without records, raw data and unreadable files have none.
 */
std::vector<std::string> recorders_of(std::vector<RecordingFile> const& files);

}  // namespace Kit
