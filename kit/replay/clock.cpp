#include "kit/replay/clock.h"

#include <algorithm>

namespace Kit {

namespace {

/** Longer than a replay runs, and short enough to be added to a point in time. */
constexpr std::chrono::hours kLongestReplay(24 * 3650);

}  // namespace

ReplayClock::ReplayClock(std::optional<double> rate_, std::chrono::microseconds longest_gap)
    : pacer(1.0, longest_gap) {
    set_rate(rate_, since);
}

void ReplayClock::plan(uint64_t timestamp_us, Clock::time_point now) {
    next = pacer.due(timestamp_us);
    const bool at_once = jumps || !current_rate;
    jumps = false;
    if (at_once) {
        reached = next;
        since = now;
    } else if (!paused && now - due() > kLongestDelay) {
        since += now - due();
    }
}

void ReplayClock::jump() {
    jumps = true;
}

ReplayClock::Clock::time_point ReplayClock::due() const {
    if (paused) return Clock::time_point::max();
    if (!current_rate) return since;
    const Nanoseconds wait =
        std::min<Nanoseconds>((next - reached) / *current_rate, kLongestReplay);
    return since + std::chrono::duration_cast<Clock::duration>(wait);
}

void ReplayClock::set_rate(std::optional<double> new_rate, Clock::time_point now) {
    if (new_rate) static_cast<void>(Pacer(*new_rate));  // refuses what is no rate
    if (!paused) stand_still(now);
    current_rate = new_rate;
}

void ReplayClock::pause(Clock::time_point now) {
    if (paused) return;
    stand_still(now);
    paused = true;
}

void ReplayClock::resume(Clock::time_point now) {
    if (!paused) return;
    paused = false;
    since = now;
}

/** Takes note of the place between the last frame and the planned one. */
void ReplayClock::stand_still(Clock::time_point now) {
    if (current_rate) reached = std::min(next, reached + Nanoseconds(now - since) * *current_rate);
    since = now;
}

}  // namespace Kit
