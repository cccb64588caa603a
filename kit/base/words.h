#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace Kit {

// The integers and floating-point numbers of recordings, of the target stream and of exported
// files: least significant byte first, whatever the machine. A word without a number in its name
// has 32 bits. What is read are the bytes at `offset`, in bytes; the view reaches to their end. Any
// thread.

constexpr uint16_t read_word16(std::string_view bytes, size_t offset = 0) {
    const auto byte = [&](size_t i) -> uint32_t { return static_cast<unsigned char>(bytes[i]); };
    return static_cast<uint16_t>(byte(offset) | byte(offset + 1) << 8);
}

constexpr uint32_t read_word(std::string_view bytes, size_t offset = 0) {
    return read_word16(bytes, offset) | uint32_t{read_word16(bytes, offset + 2)} << 16;
}

constexpr uint64_t read_word64(std::string_view bytes, size_t offset = 0) {
    return read_word(bytes, offset) | uint64_t{read_word(bytes, offset + 4)} << 32;
}

/** An IEEE 754 binary32, bit for bit. */
inline float read_float(std::string_view bytes, size_t offset = 0) {
    const uint32_t bits = read_word(bytes, offset);
    float number = 0;
    static_assert(sizeof(number) == sizeof(bits), "a float is an IEEE 754 binary32");
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

/** An IEEE 754 binary64, bit for bit. */
inline double read_double(std::string_view bytes, size_t offset = 0) {
    const uint64_t bits = read_word64(bytes, offset);
    double number = 0;
    static_assert(sizeof(number) == sizeof(bits), "a double is an IEEE 754 binary64");
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

/** The 4 bytes of `word` in their order on a medium. */
constexpr std::array<char, 4> bytes_of_word(uint32_t word) {
    const auto byte = [&](int shift) { return static_cast<char>(word >> shift & 0xFF); };
    return {byte(0), byte(8), byte(16), byte(24)};
}

inline void append_word16(std::string& bytes, uint16_t word) {
    bytes += static_cast<char>(word & 0xFF);
    bytes += static_cast<char>(word >> 8);
}

inline void append_word(std::string& bytes, uint32_t word) {
    const std::array<char, 4> more = bytes_of_word(word);
    bytes.append(more.data(), more.size());
}

inline void append_word64(std::string& bytes, uint64_t word) {
    append_word(bytes, static_cast<uint32_t>(word));
    append_word(bytes, static_cast<uint32_t>(word >> 32));
}

/** An IEEE 754 binary64, bit for bit. */
inline void append_double(std::string& bytes, double number) {
    uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    append_word64(bytes, bits);
}

}  // namespace Kit
