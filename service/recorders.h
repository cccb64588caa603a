#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "filewriter/data_file_writer.h"
#include "filewriter/diagnostic_file_writer.h"
#include "filewriter/object_file_writer_thread.h"
#include "kit/status/document.h"
#include "radar_objects/radar_objects.pb.h"
#include "service/failure_monitor.h"
#include "service/recording_watch.h"
#include "service/settings.h"
#include "socket/socket_buffer.h"

namespace Service {

/**
 * The recorders of the service: frames of targets, raw register blocks, and diagnostics. Takes
 * their settings once, records every frame, and completes every file at the end. What a recorder
 * cannot store is logged and counted, and the service goes on without it.
 *
 * Owns the recorders and the watch over their directories. To be used from one thread.
 */
class Recorders {
public:
    using Clock = std::chrono::steady_clock;

    /**
     * Makes sure that every recorder that is on can write, and switches it on.
     *
     * @throws Kit::Error with the directory and the reason when one cannot; then no file was
     *         begun.
     */
    explicit Recorders(Settings const& settings);
    /** finish(). */
    ~Recorders();
    Recorders(Recorders const&) = delete;
    Recorders& operator=(Recorders const&) = delete;

    /**
     * Records one frame, with its timestamp set. Diagnostics get one frame a second, and every
     * frame while a failure is active.
     *
     * @param frame what the objects and diagnostics recorders store.
     * @param raw the record of the same frame for the raw recorder; asked for only when that is on.
     */
    void record(Radar::SocketBuffer const& frame, std::function<std::string()> const& raw,
                bool failure_active, Clock::time_point now);

    /**
     * Whether so many frames are queued for the file of objects that an input that can wait should.
     * The queue itself has no limit, and other inputs do not wait.
     */
    bool is_behind(Clock::time_point now);

    /** What each recorder is doing, by its name. */
    std::map<std::string, Kit::RecorderStatus> status() const;

    /** Stores what is queued, completes every file and flushes it. Records nothing from then on. */
    void finish();

private:
    enum Kind { kObjects, kRaw, kDiagnostics, kKinds };

    struct Recorder {
        char const* name = "";
        RecordingPlace place;
        bool enabled = false;
        /** Its number in the watch, which has the recorders that are on. */
        size_t watched = 0;
        uint64_t frames = 0;
        uint64_t exceptions = 0;
        std::string last_exception;
    };

    void find_places(Settings const& settings);
    void switch_on(Settings const& settings);
    template <typename Store>
    void store(Kind kind, Store const& store);
    RecordedFiles files(Recorder const& recorder) const;
    void look_at_queue(Clock::time_point now, Clock::duration patience);

    std::array<Recorder, kKinds> recorders_;
    std::unique_ptr<RecordingWatch> watch_;
    std::unique_ptr<Radar::ObjectFileWriterThread> objects_;
    std::unique_ptr<Radar::DataFileWriter> raw_;
    std::unique_ptr<Radar::DiagnosticFileWriter> diagnostics_;
    Clock::time_point next_diagnostics_{};

    /** The frames of objects that no file counts yet, at the last look, and without those that none
     * ever will. */
    uint64_t queued_ = 0;
    uint64_t never_counted_ = 0;
    uint64_t last_counted_ = 0;
    Clock::time_point last_progress_{};
    bool behind_ = false;
};

}  // namespace Service
