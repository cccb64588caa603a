#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Tools {

/** The text of a float, up to 16 characters, of which the first one is the lowest byte of `low`. */
struct FloatText {
    uint64_t low;
    uint64_t high;
    uint32_t size;

    /** Writes 16 characters, whatever the size, and returns where the text ends. */
    char* write(char* into) const {
        write_lowest_first(into, low);
        write_lowest_first(into + 8, high);
        return into + size;
    }

private:
    static void write_lowest_first(char* into, uint64_t characters) {
        if (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__) characters = __builtin_bswap64(characters);
        std::memcpy(into, &characters, sizeof(characters));
    }
};

/**
 * The shortest decimal text that reads back as the same float, and of those the nearest: what
 * std::to_chars() writes. An infinity is "inf"; a NaN is "nan".
 *
 * Dragonbox finds the digits and these 16 bytes are laid out here, since printing floats decides
 * how fast a recording becomes CSV: this is 1.4 times as fast as std::to_chars(), and behind
 * FloatCache up to 23 times (bench/float_text). With std::to_chars() a row would cost 2.4 times as
 * much, or 1.6 times behind the cache: on one core 17 % of the speed at which protobuf parses it,
 * where bench/recording_verbs asks for 20 %.
 *
 * @param bits of a float whose sign bit is not set.
 */
FloatText text_of_magnitude(uint32_t bits);

/** No float needs more room, with what is written behind it. */
constexpr size_t kFloatTextRoom = 24;

/** The bits of a float without its sign, which is written as '-'; room for a character is needed.
 */
inline uint32_t write_sign(char*& into, float value) {
    uint32_t bits = 0;
    static_assert(sizeof(value) == sizeof(bits), "a float is an IEEE 754 binary32");
    std::memcpy(&bits, &value, sizeof(bits));
    *into = '-';  // overwritten where there is no sign
    into += bits >> 31;
    return bits & 0x7FFFFFFF;
}

/** Writes a float, with its sign, into kFloatTextRoom characters; returns the end of the text. */
inline char* write_float(char* into, float value) {
    const uint32_t bits = write_sign(into, value);
    return text_of_magnitude(bits).write(into);
}

}  // namespace Tools
