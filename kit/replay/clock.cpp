#include "kit/replay/clock.h"

#include <algorithm>

namespace Kit {

namespace {

/** Longer than a replay runs, and short enough to be added to a point in time. */
constexpr std::chrono::hours kLongestReplay(24 * 3650);

}  // namespace

ReplayClock::ReplayClock(std::optional<double> rate, std::chrono::microseconds longest_gap)
    : pacer_(1.0, longest_gap) {
    set_rate(rate, since_);
}

void ReplayClock::plan(uint64_t timestamp_us, Clock::time_point now) {
    next_ = pacer_.due(timestamp_us);
    const bool at_once = jumps_ || !current_rate_;
    jumps_ = false;
    if (at_once) {
        reached_ = next_;
        since_ = now;
    } else if (!paused_ && now - due() > kLongestDelay) {
        since_ += now - due();
    }
}

void ReplayClock::jump() {
    jumps_ = true;
}

ReplayClock::Clock::time_point ReplayClock::due() const {
    if (paused_) return Clock::time_point::max();
    if (!current_rate_) return since_;
    const Nanoseconds wait =
        std::min<Nanoseconds>((next_ - reached_) / *current_rate_, kLongestReplay);
    return since_ + std::chrono::duration_cast<Clock::duration>(wait);
}

void ReplayClock::set_rate(std::optional<double> new_rate, Clock::time_point now) {
    if (new_rate) static_cast<void>(Pacer(*new_rate));  // refuses what is no rate
    if (!paused_) stand_still(now);
    current_rate_ = new_rate;
}

void ReplayClock::pause(Clock::time_point now) {
    if (paused_) return;
    stand_still(now);
    paused_ = true;
}

void ReplayClock::resume(Clock::time_point now) {
    if (!paused_) return;
    paused_ = false;
    since_ = now;
}

/** Takes note of the place between the last frame and the planned one. */
void ReplayClock::stand_still(Clock::time_point now) {
    if (current_rate_)
        reached_ = std::min(next_, reached_ + Nanoseconds(now - since_) * *current_rate_);
    since_ = now;
}

}  // namespace Kit
