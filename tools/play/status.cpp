#include "tools/play/status.h"

#include <fmt/core.h>

#include "kit/base/text.h"

namespace Tools {

namespace {

constexpr char kKeys[] = "  [space . , <- -> + - m 1 q]";

/** "1:02.5", or "1:01:02" from an hour on. */
std::string position_text(uint64_t us) {
    const uint64_t tenths = us / 100000;
    const uint64_t seconds = tenths / 10;
    if (seconds >= 3600) {
        return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return fmt::format("{}:{:02}.{}", seconds / 60, seconds % 60, tenths % 10);
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
    return rate ? fmt::format("x{:.6g}", *rate) : "max";
}

std::string play_status_text(PlayStatus const& status, int columns) {
    std::string text = fmt::format("{} {}  {}", state_text(status.state), rate_text(status.rate),
                                   position_text(status.position_us));
    if (status.share > 0) text += fmt::format(" ({:.0f} %)", 100 * status.share);
    text += fmt::format("  frame {}  {}", status.frame, Kit::count_text(status.clients, "client"));
    if (status.dropped > 0) text += fmt::format(", {} dropped", status.dropped);
    const size_t width = columns > 1 ? static_cast<size_t>(columns) - 1 : 0;
    if (text.size() + sizeof(kKeys) - 1 <= width) text += kKeys;
    return text.substr(0, width);
}

}  // namespace Tools
