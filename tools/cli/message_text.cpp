#include "tools/cli/message_text.h"

#include <fmt/core.h>

namespace Tools {

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

std::string in_quotes(std::string_view word) {
    return fmt::format("'{}'", printable(word));
}

std::string counted(uint64_t count, std::string const& what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string joined(std::vector<std::string> const& words, std::string const& between) {
    std::string text;
    for (std::string const& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

}  // namespace Tools
