#pragma once

#include <chrono>
#include <cstdint>

namespace Kit {

/** The longest step between two frames that a replay keeps: any that is in a recording, or, where
 * the gaps are to be left out, those within one recording of a running radar. */
constexpr std::chrono::microseconds kKeepGaps = std::chrono::hours(24 * 365);
constexpr std::chrono::microseconds kSkipGaps = std::chrono::seconds(1);

/**
 * Says when each frame of a source is due, from the frames' timestamps. Has no clock: the caller
 * waits. One thread at a time.
 *
 * A step that is longer than the longest gap or goes back, as between two recordings or at the
 * start of another round, counts as one typical interval: the mean of the steps that counted so
 * far, or a thirtieth of a second where none has.
 */
class Pacer {
public:
    /**
     * @param rate how many times as fast as the timestamps; 1 is their own pace, infinity at once.
     * @param longest_gap the longest step between two frames that is kept.
     * @throws InputError when `rate` is 0, negative or not a number.
     */
    explicit Pacer(double rate, std::chrono::microseconds longest_gap = kKeepGaps);

    /**
     * How long after the first frame this one, the next, is due; 0 for the first. Never shrinks,
     * and stays at the largest value that can be told.
     */
    std::chrono::nanoseconds due(uint64_t timestamp_us);

private:
    double rate_;
    uint64_t longest_gap_;
    bool started_ = false;
    uint64_t last_ = 0;
    double elapsed_ = 0;  // us
    double counted_ = 0;  // us, of the steps that counted
    double steps_ = 0;

    double step_to(uint64_t timestamp_us);
};

}  // namespace Kit
