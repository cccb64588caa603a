#pragma once

#include "failure/failure.h"
#include "failure/failure_signal.h"
#include "petrel/out_port.h"
#include "petrel/radar_service_failure.h"

namespace Service {

/** What was unusual about one frame. */
struct FrameConditions {
    /** The frame is at its target limit, or the chip saw its receiver overdriven. */
    bool saturated = false;
    /** The chip saw another transmitter. */
    bool interfered = false;
};

/**
 * Keeps the radar's failures and the flag that is published about them. A failure begins and ends
 * with the frame that shows it. The flag is slower: it rises after kRaiseAfter frames in a row with
 * a failure and falls after kClearAfter frames without one; only missing data raises it at once,
 * since the watchdog has waited already. One thread at a time.
 */
class FailureMonitor {
public:
    static constexpr int kRaiseAfter = 3;
    static constexpr int kClearAfter = 10;

    FailureMonitor();

    /** Takes note of a frame: there are data again, and these conditions hold or have ended. */
    void frame_arrived(FrameConditions const& conditions);

    /** Takes note that the watchdog has run out. */
    void data_missing();

    /** Whether any failure is active. */
    bool any_active() const;

    /** Whether the input is silent. */
    bool is_data_missing() const;

    /** Every reason with its state. */
    Radar::Failure const& failures() const { return failures_; }

    /** The flag as last published, and the port that it is published on. */
    bool flag() const { return signal_.state(); }
    Petrel::OutPort<radar_service_failure>& port() { return port_; }

private:
    void set(Radar::Failure::radar_failure reason, bool active);

    Radar::Failure failures_;
    Petrel::OutPort<radar_service_failure> port_;
    Radar::HysteresFailureSignal signal_;
};

}  // namespace Service
