#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kit/status/document.h"
#include "kit/stream/relay.h"
#include "petrel/block.h"
#include "service/command_line.h"
#include "service/failure_monitor.h"
#include "service/input.h"
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
 * The radar service: one block whose cycle takes frames from the input, records them and sends them
 * to the consumers, watches over the input and answers for the status.
 *
 * Owns everything that it works with; the input, the files and the sockets are there from
 * construction to destruction. One object in a process, since its status items are the process's;
 * to be used from the thread that made it.
 */
class RadarService {
public:
    /**
     * Starts up: reads the settings, opens the input, listens for consumers and status readers, and
     * switches the recorders on. `signals` must outlive this object.
     *
     * @throws Kit::InputError with the object and the reason when any of this fails; what exists
     *         on the disk is as it was then.
     */
    RadarService(Options const& options, StopSignals& signals);
    ~RadarService();
    RadarService(RadarService const&) = delete;
    RadarService& operator=(RadarService const&) = delete;

    /**
     * Runs until a stop signal or the end of the input, then completes every file and lets the
     * consumers have what is queued for them.
     *
     * @throws Kit::InputError when the input is damaged, after ending in the same way.
     */
    void run();

    /** What the service tells about itself. */
    Kit::Status status();

private:
    using Clock = std::chrono::steady_clock;

    bool run_cycle();
    void wait();
    bool take_due_frame();
    void fill_buffer();
    void publish(FrameConditions conditions);
    void look_after_input();
    void report();
    void stop();
    void register_status_items();
    static void remove_status_items();
    std::string status_text() const;

    Clock::time_point started_ = Clock::now();
    Petrel::Block block_{"petrelradard"};
    StopSignals& signals_;
    Settings settings_;
    std::unique_ptr<Input> input_;
    SocketPaths sockets_;
    Kit::Relay relay_;
    StatusServer status_server_;
    Recorders recorders_;
    Radar::RadarSocket radar_socket_;
    int target_limit_;
    Radar::SocketBuffer buffer_;
    FailureMonitor failures_;
    Notifier notifier_;

    Radar::Timeout frame_timer_;
    Radar::Timeout report_timer_;
    Radar::Timeout alive_timer_;
    Radar::Watchdog watchdog_;
    bool frame_is_due_ = false;

    RO::RadarObjects frame_;
    bool stopping_ = false;
    uint64_t frames_ = 0;
    uint64_t targets_ = 0;
    uint64_t targets_dropped_ = 0;
    uint64_t last_timestamp_ = 0;
    uint64_t expirations_ = 0;
    uint64_t frames_reported_ = 0;
};

}  // namespace Service
