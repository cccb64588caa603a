#include "tools/format/text_buffer.h"

#include <cstring>

namespace Tools {

void TextBuffer::add(std::string_view text) {
    if (text.size() > kLargestPiece) {
        hand_over();
        write_(text);
        return;
    }
    char* const begin = room(text.size());
    std::memcpy(begin, text.data(), text.size());
    keep(begin + text.size());
}

void TextBuffer::hand_over() {
    if (used_ > 0) write_({bytes_.data(), used_});
    used_ = 0;
}

}  // namespace Tools
