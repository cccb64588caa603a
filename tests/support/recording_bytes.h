#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/base/words.h"
#include "kit/recording/format.h"
#include "tests/support/frames.h"

namespace test_support {

/** When the recordings of tests begin, in us: 15 May 2025, 09:30:07 UTC. */
constexpr uint64_t kBegin = 1747301407000000;

/** The little-endian bytes of a word. */
inline std::string word(uint32_t value) {
    std::string bytes;
    Kit::append_word(bytes, value);
    return bytes;
}

/** The header of a recording that was begun at kBegin and counts frames. */
inline std::string header(uint32_t frame_count) {
    return word(Kit::kRecordingMagic) + word(Kit::kRecordingVersion) +
           word(static_cast<uint32_t>(kBegin / 1000000)) + word(0) + std::string(16, '\0') +
           word(1) + word(frame_count);
}

/** A record with its true length. */
inline std::string record(std::string const& payload, uint32_t tag = 0xFEED0007) {
    return Kit::encode_record_header(tag, static_cast<uint32_t>(payload.size())) + payload;
}

/** A recording of these encoded frames. */
inline std::string recording(std::vector<std::string> const& frames) {
    std::string bytes = header(static_cast<uint32_t>(frames.size()));
    for (std::string const& each : frames) bytes += record(each);
    return bytes;
}

/** A recording of frames that are `step_us` apart, the first at kBegin. */
inline std::string steady_recording(int count, uint64_t step_us, int targets = 1) {
    std::vector<std::string> frames;
    for (int i = 0; i < count; ++i) {
        frames.push_back(frame(kBegin + static_cast<uint64_t>(i) * step_us, targets));
    }
    return recording(frames);
}

}  // namespace test_support
