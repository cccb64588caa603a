#pragma once

#include <deque>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "support/system_calls.h"

namespace test_support {

/**
 * Descriptors that lead nowhere: every write, wait and close of a descriptor from kFirst on is
 * recorded, and answered as the test chooses. Calls for other descriptors go to the system.
 */
class FakeDescriptors {
public:
    static constexpr int kFirst = 1000;

    /** What one call answers: a result, and the error that goes with -1. */
    struct Answer {
        ssize_t result;
        int error = 0;

        friend void PrintTo(Answer const& answer, std::ostream* os) {
            *os << answer.result << " with error " << answer.error;
        }
    };

    FakeDescriptors() {
        system_calls_.write = [this](int fd, void const* content, size_t size) {
            return fd < kFirst ? real_write(fd, content, size) : write(fd, content, size);
        };
        system_calls_.poll = [this](pollfd* waited, nfds_t count, int timeout_ms) {
            return poll(waited, count, timeout_ms);
        };
        system_calls_.close = [this](int fd) {
            return fd >= 0 && fd < kFirst ? real_close(fd) : close(fd);
        };
    }

    /** What the next writes to a descriptor answer; after those it takes everything. */
    std::map<int, std::deque<Answer>> writes;
    /** What the next waits answer; after those the descriptor is ready. */
    std::deque<Answer> waits;
    /** What a close answers. */
    Answer closing = {0};

    /** The bytes that each descriptor took. */
    std::map<int, std::string> received;
    /** The calls in order: "write <fd> <size>", "poll <fd> <events> <timeout>", "close <fd>". */
    std::vector<std::string> calls;
    /** Where the bytes of each write stood. */
    std::vector<void const*> sources;

private:
    static int answered(Answer const& answer) {
        errno = answer.error;
        return static_cast<int>(answer.result);
    }

    ssize_t write(int fd, void const* content, size_t size) {
        calls.push_back("write " + std::to_string(fd) + " " + std::to_string(size));
        sources.push_back(content);
        Answer answer = {static_cast<ssize_t>(size)};
        if (!writes[fd].empty()) {
            answer = writes[fd].front();
            writes[fd].pop_front();
        }
        if (answer.result > 0) {
            received[fd].append(static_cast<char const*>(content),
                                static_cast<size_t>(answer.result));
        }
        return answered(answer);
    }

    int poll(pollfd const* waited, nfds_t count, int timeout_ms) {
        for (nfds_t i = 0; i < count; ++i) {
            calls.push_back("poll " + std::to_string(waited[i].fd) + " " +
                            std::to_string(waited[i].events) + " " + std::to_string(timeout_ms));
        }
        Answer answer = {1};
        if (!waits.empty()) {
            answer = waits.front();
            waits.pop_front();
        }
        return answered(answer);
    }

    int close(int fd) {
        calls.push_back("close " + std::to_string(fd));
        return answered(closing);
    }

    SystemCalls system_calls_;
};

}  // namespace test_support
