#include "kit/stream/format.h"

namespace Kit {

namespace {

void append_le32(std::string& bytes, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFFU);
}

}  // namespace

uint32_t read_le32(char const* bytes) noexcept {
    uint32_t value = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        value |= uint32_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return value;
}

std::string stream_frame(std::string_view payload) {
    std::string frame;
    frame.reserve(kStreamHeaderSize + payload.size());
    append_le32(frame, kStreamMagic);
    append_le32(frame, static_cast<uint32_t>(payload.size()));
    frame += payload;
    return frame;
}

bool is_stream_frame(std::string_view bytes) noexcept {
    return bytes.size() >= kStreamHeaderSize && read_le32(bytes.data()) == kStreamMagic &&
           read_le32(bytes.data() + 4) == bytes.size() - kStreamHeaderSize;
}

}  // namespace Kit
