#pragma once

#include <algorithm>
#include <cstdint>

namespace Radar {

/** `value` shifted left; 0 for a shift that is negative, or 32 bits or more. */
inline uint32_t shift_left(uint32_t value, int32_t bits) {
    return bits < 0 || bits >= 32 ? 0U : value << bits;
}

/** `value` shifted right with its sign; only sign bits for a negative shift, or 32 bits or more. */
inline int32_t shift_right(int32_t value, int32_t bits) {
    return value >> (bits < 0 ? 31 : std::min(bits, 31));
}

/** The lowest `width` bits; all bits for a width of 32 or more. */
inline uint32_t low_bits(int32_t width) {
    return shift_left(1U, width) - 1U;
}

/** Byte `index` of `value`, counted from the least significant; the sign from byte 4 on. */
inline uint8_t byte_of(int32_t value, int32_t index) {
    return static_cast<uint8_t>(shift_right(value, 8 * std::min(index, 4)) & 0xFF);
}

}  // namespace Radar
