#pragma once

#include <cstdint>
#include <string_view>

namespace Tools {

/** The checksum CRC-32 of IEEE 802.3 and zlib, of bytes that come in pieces. */
class Crc32 {
public:
    void add(std::string_view bytes);

    /** Of all bytes so far. */
    uint32_t value() const { return ~state_; }

private:
    uint32_t state_ = 0xFFFFFFFF;
};

}  // namespace Tools
