#pragma once

#include <algorithm>
#include <string_view>

namespace Service {

/** The end of the name of a completed file. Never changes. */
constexpr std::string_view kCompletedSuffix = ".data";

/** Whether `name` is that of a completed file. */
inline bool is_completed_name(std::string_view name) {
    return name.size() > kCompletedSuffix.size() &&
           name.substr(name.size() - kCompletedSuffix.size()) == kCompletedSuffix;
}

/** Whether `name` is one that a recorder gives: prefix, date, time and milliseconds. */
inline bool is_recording_name(std::string_view name, std::string_view prefix) {
    constexpr std::string_view kPattern = "_000000_000000_000";
    if (name.size() < prefix.size() + kPattern.size() || name.substr(0, prefix.size()) != prefix) {
        return false;
    }
    const std::string_view date = name.substr(prefix.size(), kPattern.size());
    return std::equal(date.begin(), date.end(), kPattern.begin(), [](char found, char expected) {
        return expected == '_' ? found == '_' : found >= '0' && found <= '9';
    });
}

}  // namespace Service
