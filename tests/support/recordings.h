#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/frames.h"

namespace test_support {

/** The detection log of these frames. */
std::string log_of(std::vector<RO::RadarObjects> const& frames);

/** One recorded file, taken apart. */
struct Recording {
    uint32_t frame_counter = 0;
    /** Tag and payload of every record. */
    std::vector<std::pair<uint32_t, std::string>> records;
    /** What follows the last whole record. */
    std::string rest;

    /** The payloads as frames. */
    std::vector<RO::RadarObjects> frames() const;
};

/** Reads a file; fails the test when it does not begin with a header. */
Recording read_recording(std::string const& path);

/** The names in `directory` that begin with `prefix` and "_", oldest first. */
std::vector<std::string> recordings_in(std::string const& directory, std::string const& prefix);

/** The frames of all files of `names` in `directory`. */
std::vector<RO::RadarObjects> recorded_frames(std::string const& directory,
                                              std::vector<std::string> const& names);

}  // namespace test_support
