#pragma once

#include <chrono>

#include "kit/status/document.h"
#include "radar_objects/radar_objects.pb.h"
#include "service/failure_monitor.h"

namespace Service {

/** Where the service's frames come from, and when. One thread at a time. */
class Input {
public:
    using Clock = std::chrono::steady_clock;

    enum class Result {
        kFrame,    // a frame
        kNothing,  // no frame yet
        kEnd       // no frame any more
    };

    Input() = default;
    virtual ~Input() = default;
    Input(Input const&) = delete;
    Input& operator=(Input const&) = delete;

    /** When next() is to be called. */
    virtual Clock::time_point due() const = 0;

    /**
     * Takes the next frame.
     *
     * @param frame is replaced on kFrame, with its timestamp in us; else undefined.
     * @param conditions is replaced on kFrame.
     * @throws Kit::InputError when the input is damaged; the frames before the place were taken.
     */
    virtual Result next(RO::RadarObjects& frame, FrameConditions& conditions) = 0;

    /** Whether it is played as fast as possible, so that its frames can wait for the recorders. */
    virtual bool can_wait() const = 0;

    /** What the input is and how it is doing. */
    virtual Kit::InputStatus status() const = 0;
};

}  // namespace Service
