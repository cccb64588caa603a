#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "kit/frames/source.h"
#include "kit/replay/clock.h"
#include "service/command_line.h"
#include "service/input.h"

namespace Service {

/**
 * Plays a detection log, a recording or a synthetic scene at its own pace or a multiple of it. A
 * replayed frame has the timestamp that it had when it was measured; a frame of a scene that of the
 * moment in which it is taken, from the system's clock.
 *
 * Owns the source, and reads it one frame ahead.
 */
class ReplayInput : public Input {
public:
    /** Reads the first frame. @throws Kit::InputError when there is none. */
    explicit ReplayInput(Options const& options);

    Clock::time_point due() const override;
    Result next(RO::RadarObjects& frame, FrameConditions& conditions) override;
    bool can_wait() const override { return !clock_.rate(); }
    Kit::InputStatus status() const override;

private:
    void read_ahead();
    bool read_frame();

    std::string name_;
    bool is_scene_;
    bool loop_;
    std::unique_ptr<Kit::FrameSource> source_;

    /** The frame read ahead, unless the source has ended or failed. */
    RO::RadarObjects ahead_;
    bool ended_ = false;
    std::exception_ptr failure_;
    /** Runs from the moment in which the first frame is taken. */
    Kit::ReplayClock clock_;
    bool started_ = false;
};

}  // namespace Service
