#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Kit {

// The target stream is a sequence of frames with nothing between them: kFrameMagic and the length
// of the payload, 4 bytes each, little-endian, then the payload, an encoded RO::RadarObjects. These
// numbers never change.

/** The size of the header before a frame's payload, in bytes. */
constexpr size_t kStreamHeaderSize = 8;

/** The largest payload that readers accept by default, in bytes. */
constexpr uint32_t kMaxStreamPayload = 16 * 1024 * 1024;

/** The stream frame of an encoded RO::RadarObjects, header included. */
std::string stream_frame(std::string_view payload);

/** Whether `bytes` are exactly one stream frame. Does not decode the payload. */
bool is_stream_frame(std::string_view bytes) noexcept;

}  // namespace Kit
