#include "tools/plot/text.h"

#include <algorithm>

namespace Tools {

namespace {

/** The bytes of the character in UTF-8 at `i`; 0 when there is none. */
size_t character_size(std::string const& text, size_t i) {
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
    const bool is_foreign = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                            (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F) ||
                            (first == 0xC2 && second < 0xA0) ||
                            (first == 0xEF && second == 0xBF && byte(i + 2) >= 0xBE);
    return is_foreign ? 0 : size;
}

}  // namespace

std::string printable_text(std::string const& text) {
    std::string printable;
    for (size_t i = 0; i < text.size();) {
        const size_t size = character_size(text, i);
        const bool is_control = static_cast<unsigned char>(text[i]) < 0x20 || text[i] == 0x7F;
        printable += size == 0 || is_control ? "?" : text.substr(i, size);
        i += std::max<size_t>(size, 1);
    }
    return printable;
}

std::vector<std::string> characters_of(std::string const& text) {
    std::vector<std::string> characters;
    for (size_t i = 0; i < text.size();) {
        const size_t size = std::max<size_t>(character_size(text, i), 1);
        characters.push_back(text.substr(i, size));
        i += size;
    }
    return characters;
}

std::string xml_text(std::string const& text) {
    std::string safe;
    for (const char c : text) {
        if (c == '<') {
            safe += "&lt;";
        } else if (c == '>') {
            safe += "&gt;";
        } else if (c == '&') {
            safe += "&amp;";
        } else {
            safe += c;
        }
    }
    return safe;
}

}  // namespace Tools
