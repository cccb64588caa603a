#pragma once

#include <cstdint>
#include <string_view>

namespace Kit {

/**
 * The magic of every radar frame: the first field of its encoding, RO::RadarObjects.magic, and the
 * first 4 bytes of its header in the target stream. It stands on storage media and never changes.
 */
constexpr uint32_t kFrameMagic = 29061378;

/** What the encoding of a frame begins with as recorders write it: that field. */
constexpr std::string_view kFrameStart = "\x08\x82\xE2\xED\x0D";

}  // namespace Kit
