#include "kit/base/text.h"

#include <fmt/core.h>

#include <algorithm>

namespace Kit {

namespace {

/** The bytes of the character in UTF-8 at `i`; 0 when there is none. */
size_t character_size(std::string_view text, size_t i) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned first = byte(i);
    const size_t size = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
    if (size == 0 || i + size > text.size()) return 0;
    for (size_t k = i + 1; k < i + size; ++k) {
        if ((byte(k) & 0xC0U) != 0x80U) return 0;
    }
    const unsigned second = size > 1 ? byte(i + 1) : 0;
    // Too long for its character, half of a surrogate pair, beyond Unicode, or U+FFFE and U+FFFF.
    const bool is_invalid = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                            (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F) ||
                            (first == 0xEF && second == 0xBF && byte(i + 2) >= 0xBE);
    return is_invalid ? 0 : size;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown(text);
    for (size_t i = 0; i < shown.size(); ++i) {
        const auto byte = static_cast<unsigned char>(shown[i]);
        const auto next = static_cast<unsigned char>(i + 1 < shown.size() ? shown[i + 1] : '\0');
        // In UTF-8 a second set of control characters takes two bytes.
        const bool is_pair = byte == 0xC2 && next >= 0x80 && next <= 0x9F;
        if (byte < 0x20 || byte == 0x7F || is_pair) shown[i] = '?';
        if (is_pair) shown.erase(i + 1, 1);
    }
    return shown;
}

std::string quoted(std::string_view word) {
    return fmt::format("'{}'", printable(word));
}

std::string count_text(uint64_t count, std::string_view thing) {
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

std::string joined(std::vector<std::string> const& words, std::string_view separator) {
    std::string text;
    for (std::string const& word : words) {
        if (!text.empty()) text += separator;
        text += word;
    }
    return text;
}

std::string valid_utf8(std::string_view text) {
    std::string valid;
    for (size_t i = 0; i < text.size();) {
        const size_t size = character_size(text, i);
        valid += size == 0 ? "?" : text.substr(i, size);
        i += std::max<size_t>(size, 1);
    }
    return valid;
}

std::vector<std::string> characters_of(std::string_view text) {
    std::vector<std::string> characters;
    for (size_t i = 0; i < text.size();) {
        const size_t size = std::max<size_t>(character_size(text, i), 1);
        characters.emplace_back(text.substr(i, size));
        i += size;
    }
    return characters;
}

}  // namespace Kit
