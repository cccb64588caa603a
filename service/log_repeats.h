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
 * Keeps a message that comes over and over, such as one for each attempt to write to a full card,
 * from filling the log: it is let through when it begins; then, once a minute, with the number of
 * times that it was held back; and once when it has ended. Messages that differ in names and
 * numbers only are the same. No lock: callers order their calls.
 */
class LogRepeats {
public:
    using Clock = std::chrono::steady_clock;

    /** How long a message is held back after it was let through. */
    static constexpr std::chrono::seconds kInterval{60};
    /** How many messages are remembered; those beyond are let through. */
    static constexpr size_t kMostMessages = 64;

    /** Records a message of one line. Returns what is to be logged now. */
    std::vector<LogMessage> pass(LogMessage const& message, Clock::time_point now);

    /** Returns what is to be logged now although no message came. */
    std::vector<LogMessage> due(Clock::time_point now);

    /** Returns the numbers of all messages that were held back and not reported, and forgets them.
     */
    std::vector<LogMessage> rest();

private:
    struct Repeats {
        /** As it came last. */
        LogMessage message;
        Clock::time_point since;
        uint64_t held_back = 0;
        /** Of those before, that were reported. */
        uint64_t reported = 0;
    };

    static LogMessage summary(Repeats const& repeats);
    static LogMessage end(Repeats const& repeats);

    /** By kind of message. */
    std::map<std::string, Repeats> messages_;
};

}  // namespace Service
