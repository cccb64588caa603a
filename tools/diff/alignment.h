#pragma once

#include <deque>
#include <optional>
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
class FrameLookAhead : private InputHandler {
public:
    FrameLookAhead(FrameInput& input, DamageReport& report) : input_(input), report_(report) {}

    /** Continues with the next frame; at first with the first one. */
    void advance();

    /** The first header up to the current frame; none when there was none. */
    std::optional<Kit::RecordingHeader> const& header() const { return header_; }

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

    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const& note) override;

    void read();

    FrameInput& input_;
    DamageReport& report_;
    std::optional<Kit::RecordingHeader> header_;
    InputFrame frame_;       // the input's current one
    bool at_frame_ = false;  // whether the input has one
    std::deque<Held> held_;  // they come before the input's frame
    std::vector<uint64_t> times_;
};

/**
 * Finds out which frames of two inputs are to be compared: those of one time, so that a frame that
 * one of them does not have puts nothing out of step. Where times do not only go forward, frames
 * are found in the 32 next ones. One thread at a time.
 */
class FrameAlignment {
public:
    FrameAlignment(FrameLookAhead& a, FrameLookAhead& b, Tolerances const& tolerances)
        : a_(a), b_(b), tolerances_(tolerances) {}

    enum class Step { kBoth, kOnlyA, kOnlyB, kEnd };

    /** What to do with the current frames: compare them, or pass over one that is alone. */
    Step next();

private:
    Step step_towards_match();

    FrameLookAhead& a_;
    FrameLookAhead& b_;
    Tolerances const& tolerances_;
};

}  // namespace Tools
