#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "radar_objects/radar_objects.pb.h"
#include "tools/screen/terminal.h"

namespace Tools {

/** What the lines above the table say of a stream. */
struct LiveStatus {
    std::string source;
    std::string state;      // "live"
    bool is_well = true;    // whether the state is as it should be
    uint64_t frames = 0;    // since the start
    double frame_rate = 0;  // a second
    uint64_t bytes = 0;
    uint64_t lost_frames = 0;
    uint64_t reconnects = 0;
};

/**
 * The picture of a live stream: status, then the targets of a frame by range, nearest first, one a
 * line, in the units that the reference host sends (m, m/s, rad, dB).
 *
 * @return lines without their ends; never more lines or, escape sequences aside, more characters in
 *         a line than the window has.
 */
std::vector<std::string> draw_target_table(LiveStatus const& status, RO::RadarObjects const& frame,
                                           WindowSize window, bool coloured);

}  // namespace Tools
