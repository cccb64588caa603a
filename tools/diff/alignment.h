#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tools/diff/tolerance.h"
#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"

namespace Tools {

/**
 * The frames of an input, one after the other, with a look at those that come next. Holds up to
 * kMostHeld small frames besides that of the input. Input and report outlive it.
 */
class FrameQueue {
public:
    FrameQueue(FrameInput& input, DamageReport& report) : input_(input), report_(report) {}

    /** Called with each header that the input gives. */
    std::function<void(Kit::RecordingHeader const&)> on_header;

    /** Goes on to the next frame; at first to the first one. */
    void advance();

    bool is_at_end() const { return held_.empty() && !at_frame_; }

    /** The current frame. */
    InputFrame front() const;

    /** The times of the current frame and of those that come next, as far as they are held. */
    std::vector<uint64_t> const& look_ahead();

private:
    struct Held {
        InputFrame frame;
        std::string payload;
    };

    static constexpr size_t kMostHeld = 31;
    static constexpr size_t kLargestHeld = 64 * 1024;

    void read();

    FrameInput& input_;
    DamageReport& report_;
    std::deque<Held> held_;  // they come before the input's frame
    bool at_frame_ = false;  // whether the input has one
    std::vector<uint64_t> times_;
};

/**
 * Finds out which frames of two inputs are to be compared: those of one time, so that a frame that
 * one of them does not have puts nothing out of step. Where times do not only go forward, frames
 * are found in the 32 next ones. One thread at a time.
 */
class FrameAlignment {
public:
    FrameAlignment(FrameQueue& a, FrameQueue& b, Tolerances const& tolerances)
        : a_(a), b_(b), tolerances_(tolerances) {}

    enum class Step { kBoth, kOnlyA, kOnlyB, kEnd };

    /** What to do with the current frames: compare them, or pass over one that is alone. */
    Step next();

private:
    Step step_towards_match();

    FrameQueue& a_;
    FrameQueue& b_;
    Tolerances const& tolerances_;
};

}  // namespace Tools
