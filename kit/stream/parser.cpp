#include "kit/stream/parser.h"

#include <algorithm>

namespace Kit {

namespace {

constexpr std::string_view kMagicBytes("\x02\x71\xBB\x01", 4);

std::string hex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (!text.empty()) text += ' ';
        text += kDigits[value >> 4U];
        text += kDigits[value & 0xFU];
    }
    return text;
}

}  // namespace

StreamParser::StreamParser(uint32_t max_payload_) : max_payload(max_payload_) {}

void StreamParser::append(std::string_view more) {
    if (found) return;
    bytes.erase(0, begin);
    begin = 0;
    bytes += more;
}

std::optional<std::string> StreamParser::next() {
    if (found || !magic_is_right() || pending() < kStreamHeaderSize) return std::nullopt;
    const uint32_t length = read_le32(bytes.data() + begin + 4);
    if (!length_is_right(length)) return std::nullopt;
    const size_t size = kStreamHeaderSize + length;
    if (pending() < size) return std::nullopt;
    std::string frame = bytes.substr(begin, size);
    begin += size;
    stream_offset += size;
    return frame;
}

// Compares what is there of the magic, so that foreign bytes are noticed although fewer than a
// header's came.
bool StreamParser::magic_is_right() {
    const std::string_view there = std::string_view(bytes).substr(begin, kMagicBytes.size());
    if (there == kMagicBytes.substr(0, there.size())) return true;
    found = StreamFault{stream_offset, hex(there) + " in place of the magic " + hex(kMagicBytes)};
    return false;
}

bool StreamParser::length_is_right(uint32_t length) {
    if (length <= max_payload) return true;
    found =
        StreamFault{stream_offset, "length " + std::to_string(length) + " is over the limit of " +
                                       std::to_string(max_payload) + " bytes"};
    return false;
}

std::optional<StreamFault> const& StreamParser::fault() const noexcept {
    return found;
}

size_t StreamParser::pending() const noexcept {
    return bytes.size() - begin;
}

uint64_t StreamParser::offset() const noexcept {
    return stream_offset;
}

void StreamParser::reset() {
    bytes.clear();
    begin = 0;
    stream_offset = 0;
    found.reset();
}

}  // namespace Kit
