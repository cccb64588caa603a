#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/frame.h"

namespace Tools {

/** Where a frame stands in a source. */
struct FramePlace {
    std::string file;
    uint64_t offset = 0;  // in bytes
    uint64_t number = 0;
};

/** A time without a frame that is long for the recording. */
struct FrameGap {
    uint64_t length_us = 0;
    uint64_t begin_us = 0;  // the time of the frame before
    FramePlace place;       // of the frame behind
};

/**
 * What the timestamps of a recording's frames, taken as us, say of its pace. Of a recording of any
 * length it keeps some 50 kilobytes. One thread at a time.
 *
 * A gap is a time between two frames that is more than 1.6 times (at most 1.8 times, for it is
 * rounded) what nine of ten such times are at most, where there are ten of them at least.
 */
class FrameTiming {
public:
    /** Takes the next frame, which stands in `file`. */
    void add(InputFrame const& frame, std::string const& file);

    uint64_t frames() const { return frame_count_; }
    uint64_t first_us() const { return first_; }
    uint64_t last_us() const { return last_; }

    /** The times between two frames that are neither gaps nor go back. */
    struct Intervals {
        uint64_t count = 0;
        double mean_us = 0;
        double deviation_us = 0;  // the standard deviation
        uint64_t shortest_us = 0;
        uint64_t longest_us = 0;
    };
    Intervals intervals() const;

    /** How often a frame was earlier than the one before. */
    uint64_t steps_back() const { return back_count_; }

    /** What nine of ten times between frames are at most, rounded up by up to 1/16. */
    uint64_t usual_us() const;
    /** The length from which on a time is a gap; none when there are too few to tell. */
    std::optional<uint64_t> gap_from_us() const;
    uint64_t gap_count() const;
    /** The longest gaps, at most kMostGaps, in order of the recording. */
    std::vector<FrameGap> gaps() const;

    static constexpr size_t kMostGaps = 100;

private:
    static constexpr int kStepsPerOctave = 16;

    static size_t step_of(uint64_t length_us);
    static uint64_t begin_of(size_t step);
    void add_interval(uint64_t length_us);
    bool is_long(uint64_t length_us) const;
    void keep(FrameGap gap);

    uint64_t frame_count_ = 0;
    uint64_t first_ = 0;
    uint64_t last_ = 0;
    uint64_t back_count_ = 0;
    uint64_t interval_count_ = 0;
    uint64_t shortest_ = 0;
    /** The intervals of each step of length. */
    struct Step {
        uint64_t count = 0;
        uint64_t longest = 0;
        double sum = 0;
        double squares = 0;
    };
    std::vector<Step> steps_ = std::vector<Step>(64 * kStepsPerOctave);
    /** The longest intervals; a heap with the shortest of them in front. */
    std::vector<FrameGap> long_intervals_;
};

}  // namespace Tools
