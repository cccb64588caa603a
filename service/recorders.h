#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "filewriter/object_file_writer.h"
#include "kit/status/document.h"
#include "service/recorder.h"
#include "service/settings.h"
#include "socket/socket_buffer.h"

namespace Service {

/**
 * The recorders of the service: frames of targets, raw register blocks, and diagnostics, each on a
 * thread of its own, so that a card that hangs holds up neither the frames nor the diagnostics in
 * "/tmp". Records every frame, and completes every file at the end.
 *
 * No call waits for storage, but those that say so. To be used from one thread.
 */
class Recorders {
public:
    using Clock = std::chrono::steady_clock;

    /**
     * Starts the recorders that are on, which try their storage. When the directory of diagnostics
     * is not this user's alone, that is logged, and diagnostics are off.
     *
     * @param keep_unfinished whether files that a killed run has left stay as they are.
     */
    explicit Recorders(Settings const& settings, bool keep_unfinished = false);
    /** finish(), and waits for all that does not hang. */
    ~Recorders();
    Recorders(Recorders const&) = delete;
    Recorders& operator=(Recorders const&) = delete;

    /**
     * Whether every recorder that is on has tried its storage.
     *
     * @throws Kit::Error with the directory and the reason when one cannot be written to; then
     *         no file was begun.
     */
    bool is_started() const;

    /**
     * Records one frame, with its timestamp set. Diagnostics get one frame a second, and every
     * frame while a failure is active.
     *
     * @param frame what the objects and diagnostics recorders store.
     * @param raw the record of the same frame for the raw recorder; asked for only when that is on.
     */
    void record(Radar::SocketBuffer const& frame, std::function<std::string()> const& raw,
                bool failure_active, Clock::time_point now);

    /** Whether so many frames are queued that an input that can wait should. */
    bool is_behind(Clock::time_point now) const;

    /** What each recorder is doing, by its name. */
    std::map<std::string, Kit::RecorderStatus> status(Clock::time_point now) const;

    /** How each recorder that is on is doing. */
    std::vector<RecorderHealth> health(Clock::time_point now) const;

    /** Has every recorder store what is queued and complete its file. Records nothing from then on.
     */
    void finish();

    /** Whether that is done, but for recorders that have hung for `patience` and are given up. */
    bool is_finished(Clock::time_point now, Clock::duration patience) const;

    /** The recorder that has been in one call of the system longest, and for how long. */
    std::pair<std::string, Clock::duration> most_stuck(Clock::time_point now) const;

private:
    enum Kind { kObjects, kRaw, kDiagnostics, kKinds };

    void start_objects(Settings const& settings);
    void start_raw(Settings const& settings);
    void start_diagnostics(Settings const& settings);
    void start(Kind kind, RecorderOptions options, Settings const& settings);

    /** Those that are on. */
    std::array<std::unique_ptr<Recorder>, kKinds> recorders_;
    /** What those that are off have to say. */
    std::map<std::string, Kit::RecorderStatus> off_;
    /** Give records their form and write nothing. */
    Radar::ObjectFileWriter objects_format_;
    Radar::ObjectFileWriter diagnostics_format_;
    Clock::time_point next_diagnostics_{};
    bool keep_unfinished_;
    bool finishing_ = false;
};

}  // namespace Service
