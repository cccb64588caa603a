#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Tools {

/** What a person who plays a recording wants to see of it. */
struct PlayStatus {
    enum class State { kPlaying, kPaused, kWaiting };

    State state = State::kPlaying;
    std::optional<double> rate;  // none: as fast as possible
    uint64_t frame = 0;          // the number of the last frame that was sent
    uint64_t position_us = 0;    // its time since the first frame
    double share = 0;            // of the source that was read; 0 when that is not known
    size_t clients = 0;
    uint64_t dropped = 0;  // frames, because of slow clients
};

/** The status in one line of at most `columns` - 1 characters, with the keys where there is room.
 */
std::string play_status_text(PlayStatus const& status, int columns);

/** A rate as a person writes it: "x1", "x0.25" or "max". */
std::string rate_text(std::optional<double> rate);

}  // namespace Tools
