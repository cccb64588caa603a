#pragma once

#include <optional>
#include <ostream>
#include <string>

namespace Service {

/** What a person asked the service for. */
struct Options {
    /** "chip", "scene", "scene:SEED" or the path of a detection log or recording. */
    std::string input = "chip";
    /** How many times faster than its own pace the input is played; none is as fast as possible. */
    std::optional<double> rate = 1.0;
    /** Whether an input that has ended begins again. */
    bool loop = false;
    /** Whether times of more than a second without a frame are left out of a log or recording. */
    bool skip_gaps = false;
    /** Frames a second of a chip or a scene; none is the input's own choice. */
    std::optional<double> frame_rate;
    /** The settings file; empty for the one that the process has read already. */
    std::string settings_file;
    /** Whether files that a killed run has left unfinished stay so. */
    bool keep_unfinished = false;
    /** Where consumers and status readers connect; empty for the runtime directory. */
    std::string socket;
    std::string status_socket;
};

/**
 * Reads the command line. Returns nothing after it has printed to `out` what was asked for instead
 * of a service: the help or the version.
 *
 * @throws Kit::UsageError for an unknown option, a value out of range or options that exclude each
 * other.
 */
std::optional<Options> parse_options(int argc, char const* const* argv, std::ostream& out);

}  // namespace Service
