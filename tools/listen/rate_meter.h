#pragma once

#include <chrono>
#include <deque>

namespace Tools {

/** The rate of events over the last seconds. */
class RateMeter {
public:
    using Clock = std::chrono::steady_clock;

    void count(Clock::time_point now) {
        events_.push_back(now);
        forget(now);
    }

    /** Events per second; 0 while there were fewer than two within the last seconds. */
    double rate(Clock::time_point now) {
        forget(now);
        if (events_.size() < 2) return 0.0;
        const std::chrono::duration<double> span = events_.back() - events_.front();
        return span.count() > 0.0 ? static_cast<double>(events_.size() - 1) / span.count() : 0.0;
    }

private:
    void forget(Clock::time_point now) {
        while (!events_.empty() && now - events_.front() > std::chrono::seconds(3)) {
            events_.pop_front();
        }
    }

    std::deque<Clock::time_point> events_;
};

}  // namespace Tools
