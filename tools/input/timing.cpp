#include "tools/input/timing.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tools {

namespace {

constexpr uint64_t kFewestIntervals = 10;

bool is_longer(FrameGap const& a, FrameGap const& b) {
    return a.length_us > b.length_us;
}

}  // namespace

void FrameTiming::add(InputFrame const& frame, std::string const& file) {
    const uint64_t length_us = frame.timestamp - last_;
    if (frame_count_ == 0) {
        first_ = frame.timestamp;
    } else if (frame.timestamp < last_) {
        ++back_count_;
    } else {
        add_interval(length_us);
        if (is_long(length_us)) keep({length_us, last_, {file, frame.offset, frame.number}});
    }
    ++frame_count_;
    last_ = frame.timestamp;
}

void FrameTiming::add_interval(uint64_t length_us) {
    shortest_ = interval_count_ == 0 ? length_us : std::min(shortest_, length_us);
    ++interval_count_;
    const auto length = static_cast<double>(length_us);
    Step& step = steps_[step_of(length_us)];
    ++step.count;
    step.longest = std::max(step.longest, length_us);
    step.sum += length;
    step.squares += length * length;
}

/** Whether an interval is among the longest so far. */
bool FrameTiming::is_long(uint64_t length_us) const {
    return long_intervals_.size() < kMostGaps || length_us > long_intervals_.front().length_us;
}

void FrameTiming::keep(FrameGap gap) {
    if (long_intervals_.size() == kMostGaps) {
        std::pop_heap(long_intervals_.begin(), long_intervals_.end(), is_longer);
        long_intervals_.pop_back();
    }
    long_intervals_.push_back(std::move(gap));
    std::push_heap(long_intervals_.begin(), long_intervals_.end(), is_longer);
}

FrameTiming::Intervals FrameTiming::intervals() const {
    const auto from = gap_from_us();
    Intervals all;
    double sum = 0;
    double squares = 0;
    for (size_t i = 0; i < (from ? step_of(*from) : steps_.size()); ++i) {
        Step const& step = steps_[i];
        all.count += step.count;
        all.longest_us = std::max(all.longest_us, step.longest);
        sum += step.sum;
        squares += step.squares;
    }
    if (all.count == 0) return all;
    const auto count = static_cast<double>(all.count);
    all.shortest_us = shortest_;
    all.mean_us = sum / count;
    if (all.count > 1) {
        all.deviation_us = std::sqrt(std::max(0.0, squares - sum * all.mean_us) / (count - 1));
    }
    return all;
}

/** Lengths below 16 us have a step each, longer ones 16 to each doubling. */
size_t FrameTiming::step_of(uint64_t length_us) {
    if (length_us < kStepsPerOctave) return length_us;
    const int octave = 63 - __builtin_clzll(length_us);  // 4 or more
    const uint64_t within = (length_us >> (octave - 4)) - kStepsPerOctave;
    return static_cast<size_t>(octave - 3) * kStepsPerOctave + within;
}

uint64_t FrameTiming::begin_of(size_t step) {
    if (step < kStepsPerOctave) return step;
    const size_t octave = step / kStepsPerOctave + 3;
    return (step % kStepsPerOctave + kStepsPerOctave) << (octave - 4);
}

uint64_t FrameTiming::usual_us() const {
    uint64_t count = 0;
    for (size_t step = 0; step < steps_.size(); ++step) {
        count += steps_[step].count;
        if (10 * count >= 9 * interval_count_) return begin_of(step + 1);
    }
    return 0;
}

std::optional<uint64_t> FrameTiming::gap_from_us() const {
    if (interval_count_ < kFewestIntervals) return std::nullopt;
    const uint64_t usual = usual_us();
    if (usual > UINT64_MAX / 32) return std::nullopt;
    return begin_of(step_of(usual * 16 / 10) + 1);
}

uint64_t FrameTiming::gap_count() const {
    const auto from = gap_from_us();
    if (!from) return 0;
    uint64_t count = 0;
    for (size_t step = step_of(*from); step < steps_.size(); ++step) count += steps_[step].count;
    return count;
}

std::vector<FrameGap> FrameTiming::gaps() const {
    const auto from = gap_from_us();
    std::vector<FrameGap> found;
    for (FrameGap const& interval : long_intervals_) {
        if (from && interval.length_us >= *from) found.push_back(interval);
    }
    std::sort(found.begin(), found.end(),
              [](FrameGap const& a, FrameGap const& b) { return a.place.number < b.place.number; });
    return found;
}

}  // namespace Tools
