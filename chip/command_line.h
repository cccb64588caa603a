#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "kit/demo_chip/registers.h"

namespace Chip {

/** What a person asked the simulated chip for. */
struct Options {
    /** "scene", "scene:SEED", or the path of a detection log or a recording. */
    std::string input = "scene";
    /** How many times faster than its own pace the input is played. */
    double rate = 1;
    /** Frames a second while the host leaves the pace to the chip; none is the input's own pace. */
    std::optional<double> frame_rate;
    /** Whether an input that has ended begins again. */
    bool loop = false;
    /** Whether times of more than a second without a frame are left out of the input. */
    bool skip_gaps = false;
    /** First byte of a write frame that the chip answers to. */
    int command_byte = Kit::DemoChip::kCommandByte;
    /** Every so many frames one is disturbed by interference, or by saturation; 0 is never. */
    int interference_every = 0;
    int saturation_every = 0;
    /** The program to run beside the chip, with its arguments; may be empty. */
    std::vector<std::string> command;
};

/**
 * Reads the command line. Returns nothing after it has printed to `out` what was asked for instead
 * of a chip: the help, the version or the register map.
 *
 * @throws Kit::UsageError for an unknown option, a value out of range or options that exclude each
 * other.
 */
std::optional<Options> parse_options(int argc, char const* const* argv, std::ostream& out);

}  // namespace Chip
