#pragma once

#include <array>
#include <string>
#include <vector>

#include "failure/failure.h"
#include "failure/failure_signal.h"
#include "kit/status/document.h"
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

/** What is wrong with recording; empty texts where nothing is. */
struct RecordingConditions {
    std::string storage;
    std::string behind;
};

/** The reasons of a failure: those of the library, and those of this service behind them. The
 * numbers stand in status documents and never change. */
enum class FailureReason : int32_t {
    kNoData = 0,
    kInterference = 1,
    kSaturation = 2,
    kStorage = 3,
    kRecorderBehind = 4
};

/**
 * Keeps the radar's failures and the flag that is published about them. A failure begins and ends
 * with the frame that shows it, one of recording with the recorder. The flag is slower: it rises
 * after kRaiseAfter frames in a row with a failure and falls after kClearAfter frames without one;
 * only missing data raises it at once, since the watchdog has waited already. One thread at a time.
 */
class FailureMonitor {
public:
    static constexpr int kRaiseAfter = 3;
    static constexpr int kClearAfter = 10;

    FailureMonitor();

    /** Records a frame: there are data again, and these conditions hold or have ended. */
    void frame_arrived(FrameConditions const& conditions);

    /** Records that the watchdog has run out. */
    void data_missing();

    /** Records how recording is doing. */
    void recording_checked(RecordingConditions const& conditions);

    /** Whether any failure is active. */
    bool any_active() const;

    /** Whether the input is silent. */
    bool is_data_missing() const;

    /** Every reason with its state, by number, and the one that counts as the current one: one
     * that is active if any is, or else the last. */
    std::vector<Kit::FailureStatus> all() const;
    Kit::FailureStatus current() const;

    /** The flag as last published, and the port that it is published on. */
    bool flag() const { return signal_.state(); }
    Petrel::OutPort<radar_service_failure>& port() { return port_; }

private:
    /** A reason that the library does not know. */
    struct Own {
        bool active = false;
        std::string detail;
    };

    void set(Radar::Failure::radar_failure reason, bool active);
    void set(FailureReason reason, Own& own, std::string const& detail);
    Kit::FailureStatus status_of(FailureReason reason) const;
    bool is_active(FailureReason reason) const;
    void choose_current();

    Radar::Failure failures_;
    Own storage_;
    Own behind_;
    FailureReason current_ = FailureReason::kNoData;
    Petrel::OutPort<radar_service_failure> port_;
    Radar::HysteresFailureSignal signal_;
};

}  // namespace Service
