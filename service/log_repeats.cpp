#include "service/log_repeats.h"

namespace Service {

std::vector<LogMessage> LogRepeats::pass(LogMessage const& message, Clock::time_point now) {
    std::vector<LogMessage> passed;
    for (auto known = messages_.begin(); known != messages_.end();) {
        if (now - known->second.since < kInterval) {
            ++known;
            continue;
        }
        if (known->second.held_back > 0) passed.push_back(summary(known->first, known->second));
        known = messages_.erase(known);
    }

    const auto known = messages_.find(message.text);
    if (known != messages_.end()) {
        ++known->second.held_back;
        return passed;
    }
    if (messages_.size() < kMostMessages) messages_[message.text] = {message.level, now, 0};
    passed.push_back(message);
    return passed;
}

std::vector<LogMessage> LogRepeats::rest() {
    std::vector<LogMessage> all;
    for (auto const& [text, repeats] : messages_) {
        if (repeats.held_back > 0) all.push_back(summary(text, repeats));
    }
    messages_.clear();
    return all;
}

LogMessage LogRepeats::summary(std::string const& text, Repeats const& repeats) {
    return {repeats.level, std::to_string(repeats.held_back) + " more times: " + text};
}

}  // namespace Service
