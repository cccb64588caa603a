#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "radar_objects/radar_objects.pb.h"

namespace service_test {

/** A frame whose targets have the ranges 1 m, 2 m, and so on. */
RO::RadarObjects frame_at(uint64_t timestamp_us, int targets);

/** The detection log of these frames. */
std::string log_of(std::vector<RO::RadarObjects> const& frames);

/** Frames of two targets, `step_us` apart, the first at 1 s. */
std::vector<RO::RadarObjects> frames_of(int count, uint64_t step_us);

/** One recorded file, taken apart without the code under test. */
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

/** The timestamps of frames. */
std::vector<uint64_t> timestamps(std::vector<RO::RadarObjects> const& frames);

/** The frames as text, so that a test shows the difference. */
std::vector<std::string> texts(std::vector<RO::RadarObjects> const& frames);

}  // namespace service_test
