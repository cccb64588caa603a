#pragma once

#include <cstdint>
#include <string_view>

namespace Radar {

// The numbers by which files, records and frames are known. They reach disks and streams and never
// change.

/** Marks every frame, in its encoding and on the stream. */
constexpr uint32_t kFrameMagic = 29061378;
/** First word of every recorded file. */
constexpr uint32_t kFileMagic = 0xBADABADA;
/** Version of the recorded file; changes when its header's layout does. */
constexpr uint32_t kFileVersion = 5;
/** Upper half of the tag in front of every record; the lower half is the recorder's. */
constexpr uint32_t kRecordTag = 0xFEED0000;

/**
 * The bytes of a number as files and streams carry them: in the order of the processor, which is
 * little-endian on the device. Valid as long as the number.
 */
template <typename Number>
std::string_view bytes_of(Number const& number) {
    return {reinterpret_cast<char const*>(&number), sizeof(number)};
}

}  // namespace Radar
