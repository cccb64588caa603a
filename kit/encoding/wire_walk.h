#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kit {

// Field numbers and wire types of a frame, in tags as they stand in an encoding.
constexpr uint32_t kMagicTag = 1 << 3 | 0;
constexpr uint32_t kTimestampTag = 2 << 3 | 0;
constexpr uint32_t kTargetTag = 3 << 3 | 2;

/** How deep messages and groups may be nested; protobuf's own limit. */
constexpr int kDeepest = 100;

/**
 * A position in an encoding, which is not owned. Every operation moves it forward, and returns
 * false when the encoding is malformed there. One thread at a time.
 */
class WireWalk {
public:
    explicit WireWalk(std::string_view bytes)
        : position_(bytes.data()), end_(position_ + bytes.size()) {}

    char const* place() const { return position_; }

    bool at_end() const { return position_ == end_; }

    bool varint(uint64_t& value) {
        value = 0;
        for (int shift = 0; shift < 70 && position_ != end_; shift += 7) {
            const auto byte = static_cast<unsigned char>(*position_++);
            value |= static_cast<uint64_t>(byte & 0x7F) << shift;
            if (byte < 0x80) return true;
        }
        return false;
    }

    /** A tag or a length: five bytes at most, of which bits beyond 32 are dropped. */
    bool short_varint(uint32_t& value) {
        if (position_ != end_ && static_cast<unsigned char>(*position_) < 0x80) {  // usually
            value = static_cast<unsigned char>(*position_++);
            return true;
        }
        value = 0;
        for (int shift = 0; shift < 35 && position_ != end_; shift += 7) {
            const auto byte = static_cast<unsigned char>(*position_++);
            value |= static_cast<uint32_t>(byte & 0x7F) << shift;
            if (byte < 0x80) return true;
        }
        return false;
    }

    /** Skips the fields that a target usually has: a tag of one byte and four bytes. */
    void skip_floats() {
        while (end_ - position_ >= 5) {
            const auto tag = static_cast<unsigned char>(*position_);
            if ((tag & 0x87) != 5 || tag < 8) return;
            position_ += 5;
        }
    }

    bool skip(size_t size) {
        if (static_cast<size_t>(end_ - position_) < size) return false;
        position_ += size;
        return true;
    }

    /** Reads a length and as many bytes, which `inside` then refers to. */
    bool piece(std::string_view& inside) {
        char const* const begin = position_;
        uint32_t size = 0;
        if (!short_varint(size)) return false;
        // A fifth byte that says 2 GiB or more.
        if (position_ - begin == 5 && static_cast<unsigned char>(position_[-1]) >= 8) return false;
        char const* const content = position_;
        if (!skip(size)) return false;
        inside = {content, size};
        return true;
    }

    /** Skips the rest of a field whose tag was read. */
    bool skip_field(uint32_t tag, int depth) {
        uint64_t value = 0;
        std::string_view inside;
        if (tag >> 3 == 0) return false;
        switch (tag & 7) {
            case 0:
                return varint(value);
            case 1:
                return skip(8);
            case 2:
                return piece(inside);
            case 3:
                return skip_group(tag, depth - 1);
            case 5:
                return skip(4);
            default:
                return false;
        }
    }

private:
    char const* position_;
    char const* end_;

    bool skip_group(uint32_t start, int depth) {
        if (depth < 0) return false;
        for (uint32_t tag = 0; short_varint(tag);) {
            if (tag == start + 1) return true;  // an end with the same field number
            if (!skip_field(tag, depth)) return false;
        }
        return false;
    }
};

}  // namespace Kit
