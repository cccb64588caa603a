#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "kit/status/document.h"
#include "service/open_recording.h"
#include "service/record_queue.h"
#include "service/record_writer.h"
#include "service/storage.h"

namespace Service {

/** What a recorder is made of. */
struct RecorderOptions {
    /** Its name in the status and the log: "objects". */
    std::string name;
    Storage storage;
    /** What the names of its files begin with. */
    std::string prefix;
    /** How old a file grows, on a clock that nobody sets. */
    std::chrono::seconds file_time{900};
    /** How many bytes a file grows to, 0 being no limit. */
    uint64_t file_size = 0;
    size_t queue_frames = 900;
    size_t queue_bytes = 4 * 1024 * 1024;
    std::function<std::unique_ptr<RecordWriter>()> make_writer;
    /** In front of every record. */
    uint32_t tag = 0;
    /** Whether files that a killed run has left are completed first. */
    bool completes_unfinished = false;
};

/** How a recorder is doing beside its counts. */
struct RecorderHealth {
    /** Since when the storage takes nothing: a failure, or one system call that takes long. */
    std::optional<std::chrono::steady_clock::time_point> failing_since;
    /** Whether so much is queued that frames will be dropped before long, or are. */
    bool is_behind = false;
    /** What is the case, with the queue's depth, in one line; empty when all is well. */
    std::string text;
};

/**
 * Records frames on a thread of its own, in files that the library's recorder writes. A bounded
 * queue stands in front: beyond its bounds whole frames are dropped, the oldest first, and counted.
 *
 * Knows what became of every frame, since it checks the file after each: at any moment the frames
 * that were pushed are those recorded, queued, dropped and failed. A record that could not be
 * stored ends its file: the file is truncated after its last whole record, counts these, and is
 * completed; the record stays queued and is tried again once a second. A file that was deleted or
 * moved, or whose medium has gone, is followed by a new one at once; the frames of a deleted one
 * count as failed.
 *
 * A completed file is flushed before its rename, again after it, and then its directory, so that
 * neither its content nor its name is lost in a power cut.
 *
 * push(), status() and health() never wait for storage and may be called from any thread; the rest
 * belongs to one. Owns the thread; a thread that hangs in a system call when this object goes is
 * left to itself, with all that it uses.
 */
class Recorder {
public:
    using Clock = std::chrono::steady_clock;

    /** How long a system call takes before the storage counts as hung. */
    static constexpr std::chrono::seconds kHungAfter{2};
    /** How often a failing storage is tried again. */
    static constexpr std::chrono::seconds kRetryEvery{1};

    /** Starts the thread, which tries the storage first. */
    explicit Recorder(RecorderOptions options);
    /** finish(), and waits for the thread unless that hangs. */
    ~Recorder();
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    /** What the trial of the storage has shown; none while that takes its time. */
    std::optional<StorageTrial> trial() const;

    /** Queues a record of one frame. */
    void push(std::string record);

    /** Whether a producer that can wait should: the queue is half full and storage is at work. */
    bool should_wait(Clock::time_point now) const;

    /** Counts, files and defects. */
    Kit::RecorderStatus status(Clock::time_point now) const;
    RecorderHealth health(Clock::time_point now) const;

    /** Has the thread store what is queued, complete the file and end. Returns at once. */
    void finish();

    /** Whether that is done. */
    bool is_finished() const;

    /** How long the thread has been in one system call; 0 when it is in none. */
    Clock::duration stuck_for(Clock::time_point now) const;

private:
    class Work;

    std::shared_ptr<Work> work_;
    std::thread thread_;
};

}  // namespace Service
