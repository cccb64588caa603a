#pragma once

#include <cstdint>
#include <string>

#include "kit/encoding/frame_magic.h"
#include "kit/stream/format.h"
#include "radar_objects/radar_objects.pb.h"

namespace stream_test {

/** The encoding of a frame with this timestamp and number of targets. */
inline std::string payload(uint64_t timestamp, int targets = 2) {
    RO::RadarObjects objects;
    objects.set_magic(Kit::kFrameMagic);
    objects.set_timestamp(timestamp);
    for (int i = 0; i < targets; ++i) objects.add_targets()->set_r(static_cast<float>(i + 1));
    return objects.SerializeAsString();
}

/** The stream frame of payload(). */
inline std::string frame(uint64_t timestamp, int targets = 2) {
    return Kit::stream_frame(payload(timestamp, targets));
}

/** So many targets that a socket does not hold their frame, however much it has sent before. */
constexpr int kMoreThanASocketHolds = 35000;

/** The stream frames with the timestamps `first` to `last`, one behind the other. */
inline std::string frames(uint64_t first, uint64_t last) {
    std::string bytes;
    for (uint64_t timestamp = first; timestamp <= last; ++timestamp) bytes += frame(timestamp);
    return bytes;
}

}  // namespace stream_test
