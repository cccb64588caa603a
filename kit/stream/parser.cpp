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

void StreamParser::append(std::string_view more) {
    if (found_) return;
    bytes_.erase(0, begin_);
    begin_ = 0;
    bytes_ += more;
}

std::optional<std::string> StreamParser::next() {
    if (found_ || !magic_is_right() || pending() < kStreamHeaderSize) return std::nullopt;
    const uint32_t length = read_word(bytes_, begin_ + 4);
    if (!length_is_right(length)) return std::nullopt;
    const size_t size = kStreamHeaderSize + length;
    if (pending() < size) return std::nullopt;
    std::string frame = bytes_.substr(begin_, size);
    begin_ += size;
    stream_offset_ += size;
    return frame;
}

// Compares what is there of the magic, so that foreign bytes are noticed although fewer than a
// header's came.
bool StreamParser::magic_is_right() {
    const std::string_view there = std::string_view(bytes_).substr(begin_, kMagicBytes.size());
    if (there == kMagicBytes.substr(0, there.size())) return true;
    found_ = StreamFault{stream_offset_, hex(there) + " in place of the magic " + hex(kMagicBytes)};
    return false;
}

bool StreamParser::length_is_right(uint32_t length) {
    if (length <= max_payload_) return true;
    found_ =
        StreamFault{stream_offset_, "length " + std::to_string(length) + " is over the limit of " +
                                        std::to_string(max_payload_) + " bytes"};
    return false;
}

std::optional<StreamFault> const& StreamParser::fault() const noexcept {
    return found_;
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
    found_.reset();
}

}  // namespace Kit
