#include "tools/message_text.h"

#include <algorithm>

namespace Tools {

std::string printable(std::string_view text) {
    const auto is_control = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
    };
    std::string shown(text);
    std::replace_if(shown.begin(), shown.end(), is_control, '?');
    return shown;
}

std::string in_quotes(std::string_view word) {
    return "'" + printable(word) + "'";
}

}  // namespace Tools
