#pragma once

#include <chrono>
#include <deque>

namespace Tools {

/** The rate of events over the last seconds. */
class RateMeter {
public:
    using Clock = std::chrono::steady_clock;

    void count(Clock::time_point now) {
        events.push_back(now);
        forget(now);
    }

    /** Events per second; 0 while there were fewer than two within the last seconds. */
    double rate(Clock::time_point now) {
        forget(now);
        if (events.size() < 2) return 0.0;
        const std::chrono::duration<double> span = events.back() - events.front();
        return span.count() > 0.0 ? static_cast<double>(events.size() - 1) / span.count() : 0.0;
    }

private:
    void forget(Clock::time_point now) {
        while (!events.empty() && now - events.front() > std::chrono::seconds(3)) {
            events.pop_front();
        }
    }

    std::deque<Clock::time_point> events;
};

}  // namespace Tools
