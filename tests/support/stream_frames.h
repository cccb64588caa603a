#pragma once

#include <cstdint>
#include <string>

#include "kit/stream/format.h"
#include "tests/support/frames.h"

namespace test_support {

/** So many targets that a socket does not hold their frame, however much it has sent before. */
constexpr int kMoreThanASocketHolds = 35000;

/** The stream frame of frame(). */
inline std::string stream_frame(uint64_t timestamp, int targets = 2) {
    return Kit::stream_frame(frame(timestamp, targets));
}

/** The stream frames with the timestamps `first` to `last`, one after the other. */
inline std::string stream_frames(uint64_t first, uint64_t last) {
    std::string bytes;
    for (uint64_t timestamp = first; timestamp <= last; ++timestamp) {
        bytes += stream_frame(timestamp);
    }
    return bytes;
}

}  // namespace test_support
