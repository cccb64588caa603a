#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

#include "support/system_calls.h"

namespace test_support {

/**
 * The kernel's timer with a clock that the test moves: timerfd_create() gives a descriptor that
 * becomes readable when the clock passes what timerfd_settime() asked for. Counts the reads of it.
 */
class FakeTimer {
public:
    explicit FakeTimer(SystemCalls& system_calls) {
        system_calls.timerfd_create = [this](int clock_id, int create_flags) {
            clock = clock_id;
            flags = create_flags;
            return fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        };
        system_calls.timerfd_settime = [this](int, int settime_flags, itimerspec const* setting) {
            settings.push_back(*setting);
            setting_flags.push_back(settime_flags);
            interval_ = nanoseconds(setting->it_interval);
            const int64_t first = nanoseconds(setting->it_value);
            deadline_ = first == 0 ? 0 : now_ + first;
            return 0;
        };
        system_calls.read = [this](int read_fd, void* bytes, size_t size) {
            if (read_fd == fd) ++reads;
            return real_read(read_fd, bytes, size);
        };
    }

    /** Moves the clock by `milliseconds`. */
    void advance(int milliseconds) {
        now_ += int64_t{milliseconds} * 1000000;
        while (deadline_ != 0 && deadline_ <= now_) {
            eventfd_write(fd, 1);
            deadline_ = interval_ == 0 ? 0 : deadline_ + interval_;
        }
    }

    int clock = -1;
    int flags = -1;
    int fd = -1;
    int reads = 0;
    std::vector<itimerspec> settings;
    std::vector<int> setting_flags;

private:
    static int64_t nanoseconds(timespec const& time) {
        return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
    }

    int64_t now_ = 1;
    int64_t deadline_ = 0;
    int64_t interval_ = 0;
};

}  // namespace test_support
