#pragma once

#include <cstdint>
#include <string>

#include "kit/base/words.h"
#include "kit/encoding/frame_magic.h"
#include "kit/recording/format.h"
#include "radar_objects/radar_objects.pb.h"

namespace test_support {

/** The bytes of a word, least significant first. */
inline std::string word(uint32_t value) {
    std::string bytes;
    Kit::append_word(bytes, value);
    return bytes;
}

/** The header of a recording that was begun at 15 May 2025, 09:30:07 UTC, and counts frames. */
inline std::string header(uint32_t frame_count) {
    return word(Kit::kRecordingMagic) + word(Kit::kRecordingVersion) + word(1747301407) + word(0) +
           std::string(16, '\0') + word(1) + word(frame_count);
}

/** The encoding of a frame with a time and targets that say nothing. */
inline std::string frame(uint64_t timestamp, int targets = 0) {
    RO::RadarObjects message;
    message.set_magic(Kit::kFrameMagic);
    message.set_timestamp(timestamp);
    for (int i = 0; i < targets; ++i) message.add_targets()->set_r(static_cast<float>(i + 1));
    return message.SerializeAsString();
}

/** A record with its true length. */
inline std::string record(std::string const& payload, uint32_t tag = 0xFEED0007) {
    return Kit::encode_record_header(tag, static_cast<uint32_t>(payload.size())) + payload;
}

}  // namespace test_support
