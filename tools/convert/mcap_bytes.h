#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "kit/base/words.h"

namespace Tools {

/** Bytes of an MCAP file: integers least significant byte first, and what has a length in front. */
class McapBytes {
public:
    using Texts = std::map<std::string, std::string>;

    void add_u8(uint8_t value) { bytes_ += static_cast<char>(value); }
    void add_u16(uint16_t value) { Kit::append_word16(bytes_, value); }
    void add_u32(uint32_t value) { Kit::append_word(bytes_, value); }
    void add_u64(uint64_t value) { Kit::append_word64(bytes_, value); }

    void add(std::string_view more) { bytes_ += more; }

    /** A text, or anything else that has a length of 4 bytes in front. */
    void add_text(std::string_view text) {
        add_u32(static_cast<uint32_t>(text.size()));
        bytes_ += text;
    }

    void add_texts(Texts const& texts) {
        McapBytes pairs;
        for (auto const& [key, value] : texts) {
            pairs.add_text(key);
            pairs.add_text(value);
        }
        add_text(pairs.view());
    }

    std::string_view view() const { return bytes_; }
    size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    void clear() { bytes_.clear(); }

private:
    std::string bytes_;
};

}  // namespace Tools
