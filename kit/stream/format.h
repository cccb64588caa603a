#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Kit {

// The target stream is a sequence of frames without anything between them: the magic and the length
// of the payload, 4 bytes each, least significant byte first, then the payload, an encoded
// RO::RadarObjects. These numbers never change.

/** The first 4 bytes of every frame of the stream, and the magic inside its payload. */
constexpr uint32_t kStreamMagic = 29061378;

/** The bytes before a frame's payload. */
constexpr size_t kStreamHeaderSize = 8;

/** The largest payload that readers accept unless they are told otherwise, in bytes. */
constexpr uint32_t kMaxStreamPayload = 16 * 1024 * 1024;

/** The unsigned integer in the 4 bytes at `bytes`, least significant byte first. */
uint32_t read_le32(char const* bytes) noexcept;

/** The stream frame of an encoded RO::RadarObjects, header included. */
std::string stream_frame(std::string_view payload);

/** Whether `bytes` are exactly one stream frame. Does not look into the payload. */
bool is_stream_frame(std::string_view bytes) noexcept;

}  // namespace Kit
