#include "tools/play/status.h"

#include <array>
#include <cstdio>

namespace Tools {

namespace {

constexpr char kKeys[] = "  [space . , <- -> + - m 1 q]";

template <typename... Values>
std::string formatted(char const* format, Values... values) {
    std::array<char, 96> text;
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

/** "1:02.5", or "1:01:02" from an hour on. */
std::string position_text(uint64_t us) {
    const uint64_t tenths = us / 100000;
    const auto seconds = static_cast<unsigned long long>(tenths / 10);
    if (seconds >= 3600) {
        return formatted("%llu:%02llu:%02llu", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return formatted("%llu:%02llu.%llu", seconds / 60, seconds % 60,
                     static_cast<unsigned long long>(tenths % 10));
}

char const* state_text(PlayStatus::State state) {
    switch (state) {
        case PlayStatus::State::kPlaying:
            return "playing";
        case PlayStatus::State::kPaused:
            return "paused ";
        case PlayStatus::State::kWaiting:
            break;
    }
    return "waiting";
}

}  // namespace

std::string rate_text(std::optional<double> rate) {
    return rate ? formatted("x%.6g", *rate) : "max";
}

std::string play_status_text(PlayStatus const& status, int columns) {
    std::string text = state_text(status.state);
    text += " " + rate_text(status.rate) + "  " + position_text(status.position_us);
    if (status.share > 0) text += formatted(" (%.0f %%)", 100 * status.share);
    text += "  frame " + std::to_string(status.frame);
    text += "  " + std::to_string(status.clients) + (status.clients == 1 ? " client" : " clients");
    if (status.dropped > 0) text += ", " + std::to_string(status.dropped) + " dropped";
    const size_t width = columns > 1 ? static_cast<size_t>(columns) - 1 : 0;
    if (text.size() + sizeof(kKeys) - 1 <= width) text += kKeys;
    return text.substr(0, width);
}

}  // namespace Tools
