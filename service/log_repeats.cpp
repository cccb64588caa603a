#include "service/log_repeats.h"

#include "service/log_line.h"

namespace Service {

std::vector<LogMessage> LogRepeats::pass(LogMessage const& message, Clock::time_point now) {
    std::vector<LogMessage> passed = due(now);
    const std::string kind = log_kind(message.text);
    const auto known = messages_.find(kind);
    if (known != messages_.end()) {
        ++known->second.held_back;
        known->second.message = message;
        return passed;
    }
    if (messages_.size() < kMostMessages) messages_[kind] = {message, now, 0, 0};
    passed.push_back(message);
    return passed;
}

std::vector<LogMessage> LogRepeats::due(Clock::time_point now) {
    std::vector<LogMessage> passed;
    for (auto known = messages_.begin(); known != messages_.end();) {
        Repeats& repeats = known->second;
        if (now - repeats.since < kInterval) {
            ++known;
            continue;
        }
        if (repeats.held_back == 0) {
            if (repeats.reported > 0) passed.push_back(end(repeats));
            known = messages_.erase(known);
            continue;
        }
        passed.push_back(summary(repeats));
        repeats.reported += repeats.held_back;
        repeats.held_back = 0;
        repeats.since = now;
        ++known;
    }
    return passed;
}

std::vector<LogMessage> LogRepeats::rest() {
    std::vector<LogMessage> all;
    for (auto const& [kind, repeats] : messages_) {
        if (repeats.held_back > 0) all.push_back(summary(repeats));
    }
    messages_.clear();
    return all;
}

LogMessage LogRepeats::summary(Repeats const& repeats) {
    return {repeats.message.level,
            std::to_string(repeats.held_back) + " more times: " + repeats.message.text};
}

LogMessage LogRepeats::end(Repeats const& repeats) {
    return {0, "no more, after " + std::to_string(repeats.reported + 1) +
                   " times: " + repeats.message.text};
}

}  // namespace Service
