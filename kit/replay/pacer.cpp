#include "kit/replay/pacer.h"

#include <algorithm>

#include "kit/base/input_error.h"

namespace Kit {

namespace {

constexpr double kDefaultInterval = 1e6 / 30;  // us

std::chrono::nanoseconds to_nanoseconds(double nanoseconds) {
    constexpr auto kLargest = std::chrono::nanoseconds::max();
    // The largest number of nanoseconds is not a double, the one above it is.
    if (nanoseconds >= static_cast<double>(kLargest.count())) return kLargest;
    return std::chrono::nanoseconds(static_cast<std::chrono::nanoseconds::rep>(nanoseconds));
}

}  // namespace

Pacer::Pacer(double rate, std::chrono::microseconds longest_gap)
    : rate_(rate),
      longest_gap_(
          static_cast<uint64_t>(std::max(longest_gap, std::chrono::microseconds::zero()).count())) {
    if (!(rate_ > 0)) throw InputError("the rate of a replay is not above 0");
}

std::chrono::nanoseconds Pacer::due(uint64_t timestamp_us) {
    if (started_) elapsed_ += step_to(timestamp_us);
    started_ = true;
    last_ = timestamp_us;
    return to_nanoseconds(elapsed_ * 1000 / rate_);
}

/** How long after the last frame this one comes, in us at the timestamps' pace. */
double Pacer::step_to(uint64_t timestamp_us) {
    if (timestamp_us < last_ || timestamp_us - last_ > longest_gap_) {
        return steps_ > 0 ? counted_ / steps_ : kDefaultInterval;
    }
    const auto step = static_cast<double>(timestamp_us - last_);
    counted_ += step;
    ++steps_;
    return step;
}

}  // namespace Kit
