#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Kit {

/** One recorder, as a status document shows it. */
struct RecorderStatus {
    bool enabled = false;
    std::string directory;
    /** The file being written; empty when none is. */
    std::string file;
    /** The file completed last in this run; empty before the first. */
    std::string last_completed;
    /** Frames that the recorder has got: at any moment those that follow, and no other. */
    uint64_t frames = 0;
    /** In its files. */
    uint64_t frames_written = 0;
    /** In its queue, the one that is being stored included. */
    uint64_t queued = 0;
    /** Dropped because the queue was full. */
    uint64_t frames_dropped = 0;
    /** Lost with a file that was deleted, or with storage that failed to the end. */
    uint64_t frames_failed = 0;
    uint64_t files_completed = 0;
    /** Completed files that were flushed again after their rename, and those that could not be. */
    uint64_t files_flushed = 0;
    uint64_t flush_failures = 0;
    /** Files of a killed run that were completed. */
    uint64_t files_recovered = 0;
    uint64_t errors = 0;
    std::string last_error;
    /** What is wrong with its storage now, in one line; empty when nothing is. */
    std::string storage;
    /** When storage failed last, in us since 1970; 0 when it never did. */
    uint64_t last_failed_us = 0;
};

/** One failure reason. */
struct FailureStatus {
    int32_t reason = 0;
    std::string text;
    bool active = false;
    /** What it means, what to do about it, and, where it is active, what exactly is the case. */
    std::string meaning;
    std::string remedy;
    std::string detail;
};

/** One consumer of the target stream. */
struct ClientStatus {
    uint64_t id = 0;
    /** Published to it: those sent, dropped and queued. */
    uint64_t frames = 0;
    uint64_t frames_sent = 0;
    uint64_t frames_dropped = 0;
    uint64_t bytes_sent = 0;
    /** Frames that wait in the consumer's queue. */
    uint64_t queued = 0;
};

/** The target stream and its consumers. */
struct StreamStatus {
    std::string socket;
    uint64_t frames = 0;
    uint64_t bytes = 0;
    uint64_t clients_accepted = 0;
    uint64_t clients_dropped_stuck = 0;
    /** For all consumers, those that have left included: published to each, and of these sent and
     * dropped; the others are queued. */
    uint64_t frames_offered = 0;
    uint64_t frames_sent = 0;
    uint64_t frames_dropped = 0;
    std::vector<ClientStatus> clients;
};

/** Where the frames come from. */
struct InputStatus {
    std::string name;
    /** "chip", "scene" or "replay". */
    std::string kind;
    uint64_t errors = 0;
    std::string last_error;
    /** Frames that were read, those of them that wait to be recorded and sent, and those that were
     * not read: dropped by the chip, or not whole. */
    uint64_t frames_read = 0;
    uint64_t queued = 0;
    uint64_t frames_dropped = 0;
    uint64_t frames_torn = 0;
};

/** The watchdog over the input. */
struct WatchdogStatus {
    int32_t timeout_s = 0;
    /** Whether it has run out and no frame has come since. */
    bool expired = false;
    uint64_t expirations = 0;
};

/** What a radar service reports about itself. A plain value; times in us. */
struct Status {
    std::string version;
    int64_t pid = 0;
    /** "starting", "running" or "stopping". */
    std::string state;
    uint64_t uptime_us = 0;
    InputStatus input;
    /** The items of the status registry, by name. */
    std::map<std::string, std::string> items;

    /** The published failure flag, the reason that counts as the current one, and all of them. */
    bool failure_flag = false;
    FailureStatus current_failure;
    std::vector<FailureStatus> failures;

    uint64_t frames = 0;
    uint64_t targets = 0;
    /** Targets omitted because a frame was at its limit. */
    uint64_t targets_dropped = 0;
    uint64_t last_timestamp_us = 0;
    StreamStatus stream;
    /** The recorders by name: "objects", "raw" and "diagnostics". */
    std::map<std::string, RecorderStatus> recorders;
    WatchdogStatus watchdog;
    /** The settings file, and the messages that were logged at each level. */
    std::string settings_file;
    uint64_t log_warnings = 0;
    uint64_t log_errors = 0;
    std::string last_log;
};

/**
 * Returns `status` as one JSON document with a newline at its end. Integers of 64 bits are strings
 * of decimal digits, since readers of JSON may keep numbers as doubles. Bytes that are no UTF-8 are
 * replaced. Any thread. The names are stable: later versions add some and change none.
 */
std::string status_document(Status const& status);

}  // namespace Kit
