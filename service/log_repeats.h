#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Service {

/** One message of the log. */
struct LogMessage {
    int level = 0;
    std::string text;

    bool operator==(LogMessage const& other) const {
        return level == other.level && text == other.text;
    }
};

/**
 * Keeps a message that comes over and over, such as one for each frame that a full card does not
 * take, from filling the log: it is let through once, and then once in a while with the number of
 * times that it was held back. No lock: callers order their calls.
 */
class LogRepeats {
public:
    using Clock = std::chrono::steady_clock;

    /** How long a message is held back after it was let through. */
    static constexpr std::chrono::seconds kInterval{10};
    /** How many messages are remembered; those beyond are let through. */
    static constexpr size_t kMostMessages = 64;

    /** Takes note of a message. Returns what is to be logged now. */
    std::vector<LogMessage> pass(LogMessage const& message, Clock::time_point now);

    /** Returns the numbers of all messages that were held back and not told of, and forgets them.
     */
    std::vector<LogMessage> rest();

private:
    struct Repeats {
        int level = 0;
        Clock::time_point since;
        uint64_t held_back = 0;
    };

    static LogMessage summary(std::string const& text, Repeats const& repeats);

    std::map<std::string, Repeats> messages_;
};

}  // namespace Service
