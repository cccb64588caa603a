#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "kit/status/document.h"
#include "kit/stream/relay.h"
#include "petrel/block.h"
#include "service/command_line.h"
#include "service/failure_monitor.h"
#include "service/input_thread.h"
#include "service/notifier.h"
#include "service/recorders.h"
#include "service/settings.h"
#include "service/socket_paths.h"
#include "service/status_server.h"
#include "service/stop_signals.h"
#include "socket/radar_socket.h"
#include "socket/socket_buffer.h"
#include "timer/timeout.h"
#include "timer/watchdog.h"

namespace Service {

/**
 * The radar service: one block whose cycle takes frames from the input's thread, passes them to the
 * recorders' threads and to the consumers, watches the input and answers for the status. The cycle
 * waits for nothing but its own events: whatever a bus, a disk, a consumer or a reader of the log
 * does, status, signals and the service manager are served.
 *
 * Owns everything that it works with; the sockets exist from construction to destruction. One
 * object in a process, since its status items are the process's; to be used from the thread that
 * made it.
 */
class RadarService {
public:
    /**
     * Reads the settings, listens for consumers and status readers, and has the input opened and
     * the recorders' storage tried. `signals` must outlive this object.
     *
     * @throws Kit::Error with the object and the reason when the settings or a socket cannot be
     *         used; what exists on the disk is as it was then.
     */
    RadarService(Options const& options, StopSignals& signals);
    ~RadarService();
    RadarService(RadarService const&) = delete;
    RadarService& operator=(RadarService const&) = delete;

    /**
     * Runs until a stop signal or the end of the input, then completes every file and lets the
     * consumers have what is queued for them. What hangs then is given up after a while.
     *
     * @throws Kit::Error when the input cannot be opened or is damaged, when a recorder's
     *         storage is refused at start, and when frames could not be recorded since storage hung
     *         at the end; after ending in the same way.
     */
    void run();

    /** Has `work` done twice a second while the service runs; it must not wait. */
    void do_now_and_then(std::function<void()> work) { now_and_then_ = std::move(work); }

    /** Whether a thread hangs and was given up: then the process ends without its destructors. */
    bool has_left_threads() const { return left_threads_; }

    /** What the service tells about itself. */
    Kit::Status status();

private:
    using Clock = std::chrono::steady_clock;

    enum class Phase { kStarting, kRunning, kStopping };

    void run_cycle();
    void wait();
    bool is_held() const;
    void go_on();
    void start_when_ready();
    void take_frame();
    void fill_buffer(RO::RadarObjects const& frame);
    void publish(InputFrame const& next);
    void check_input();
    void input_is_late();
    void check_recording();
    void report();
    void begin_stop();
    void go_on_stopping();
    void fail(std::exception_ptr failure);
    void register_status_items();
    static void remove_status_items();
    std::string status_text() const;
    std::string stuck_text() const;

    Clock::time_point started_ = Clock::now();
    Petrel::Block block_{"petrelradard"};
    StopSignals& signals_;
    Settings settings_;
    SocketPaths sockets_;
    Kit::Relay relay_;
    StatusServer status_server_;
    Recorders recorders_;
    InputThread input_;
    Petrel::FDPort* input_port_;
    Radar::RadarSocket radar_socket_;
    int target_limit_;
    Radar::SocketBuffer buffer_;
    FailureMonitor failures_;
    Notifier notifier_;

    Radar::Timeout report_timer_;
    Radar::Timeout alive_timer_;
    Radar::Timeout check_timer_;
    Radar::Watchdog watchdog_;
    std::chrono::seconds watchdog_time_{settings_.value("WatchdogTimeout")};
    Clock::time_point kicked_at_ = Clock::now();
    bool has_run_out_ = false;  // since it was kicked

    Phase phase_ = Phase::kStarting;
    bool has_ended_ = false;
    bool left_threads_ = false;
    bool recorders_finish_ = false;
    /** Whether the service was refused at its start: then no frame is passed on. */
    bool is_refused_ = false;
    std::exception_ptr failure_;
    std::function<void()> now_and_then_;
    /** Gives the consumers their time at the end. */
    std::thread relay_stop_;
    std::atomic<bool> relay_has_stopped_{false};
    uint64_t frames_ = 0;
    uint64_t targets_ = 0;
    uint64_t targets_dropped_ = 0;
    uint64_t last_timestamp_ = 0;
    uint64_t expirations_ = 0;
    uint64_t frames_reported_ = 0;
};

}  // namespace Service
