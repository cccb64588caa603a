#include "tools/convert/crc32.h"

#include <array>
#include <cstddef>

#include "kit/base/words.h"

namespace Tools {

namespace {

/** Bytes that are taken in one step, each with a table of its own. */
constexpr size_t kStep = 8;

using Table = std::array<uint32_t, 256>;

/** Table n has what a byte does to the checksum with n more bytes behind it. */
constexpr std::array<Table, kStep> make_tables() {
    constexpr uint32_t kPolynomial = 0xEDB88320;
    std::array<Table, kStep> tables = {};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (value & 1) * kPolynomial;
        tables[0][byte] = value;
    }
    for (size_t n = 1; n < kStep; ++n) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t value = tables[n - 1][byte];
            tables[n][byte] = value >> 8 ^ tables[0][value & 0xFF];
        }
    }
    return tables;
}

constexpr std::array<Table, kStep> kTables = make_tables();

}  // namespace

void Crc32::add(std::string_view bytes) {
    while (bytes.size() >= kStep) {
        const uint32_t low = state_ ^ Kit::read_word(bytes);
        const uint32_t high = Kit::read_word(bytes, 4);
        state_ = 0;
        for (unsigned i = 0; i < 4; ++i) {
            state_ ^= kTables[7 - i][low >> 8 * i & 0xFF] ^ kTables[3 - i][high >> 8 * i & 0xFF];
        }
        bytes.remove_prefix(kStep);
    }
    for (const char byte : bytes) {
        state_ = state_ >> 8 ^ kTables[0][(state_ ^ static_cast<unsigned char>(byte)) & 0xFF];
    }
}

}  // namespace Tools
