#include "kit/stream/parser.h"

#include <array>

#include "kit/base/words.h"
#include "kit/encoding/frame_magic.h"

namespace Kit {

namespace {

constexpr std::array<char, 4> kMagic = bytes_of_word(kFrameMagic);
constexpr std::string_view kMagicBytes(kMagic.data(), kMagic.size());

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

StreamParser::StreamParser(uint32_t max_payload) : max_payload_(max_payload) {}

void StreamParser::append(std::string_view bytes) {
    if (fault_) return;
    bytes_.erase(0, begin_);
    begin_ = 0;
    bytes_ += bytes;
}

std::optional<std::string> StreamParser::next() {
    if (fault_ || !magic_is_valid() || pending() < kStreamHeaderSize) return std::nullopt;
    const uint32_t length = read_word(bytes_, begin_ + 4);
    if (!length_is_valid(length)) return std::nullopt;
    const size_t size = kStreamHeaderSize + length;
    if (pending() < size) return std::nullopt;
    std::string frame = bytes_.substr(begin_, size);
    begin_ += size;
    stream_offset_ += size;
    return frame;
}

// Compares the bytes of the magic that have arrived, so that foreign bytes are detected even when
// they are fewer than a header.
bool StreamParser::magic_is_valid() {
    const std::string_view found = std::string_view(bytes_).substr(begin_, kMagicBytes.size());
    if (found == kMagicBytes.substr(0, found.size())) return true;
    fault_ = StreamFault{stream_offset_, hex(found) + " in place of the magic " + hex(kMagicBytes)};
    return false;
}

bool StreamParser::length_is_valid(uint32_t length) {
    if (length <= max_payload_) return true;
    fault_ =
        StreamFault{stream_offset_, "length " + std::to_string(length) + " is over the limit of " +
                                        std::to_string(max_payload_) + " bytes"};
    return false;
}

std::optional<StreamFault> const& StreamParser::fault() const noexcept {
    return fault_;
}

size_t StreamParser::pending() const noexcept {
    return bytes_.size() - begin_;
}

uint64_t StreamParser::offset() const noexcept {
    return stream_offset_;
}

void StreamParser::reset() {
    bytes_.clear();
    begin_ = 0;
    stream_offset_ = 0;
    fault_.reset();
}

}  // namespace Kit
