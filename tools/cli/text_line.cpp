#include "tools/cli/text_line.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "kit/base/input_error.h"
#include "tools/cli/message_text.h"
#include "tools/cli/number_text.h"

namespace Tools {

namespace {

bool is_blank(char character) {
    return character == ' ' || character == '\t';
}

}  // namespace

TextLine::TextLine(std::string_view text_, std::string place_)
    : text(text_), place(std::move(place_)), end(text_.size()) {
    while (end > 0 && (is_blank(text[end - 1]) || text[end - 1] == '\r')) --end;
    skip_blanks();
}

bool TextLine::is_empty() const {
    return position == end || text[position] == '#';
}

bool TextLine::is_at_end() const {
    return position == end;
}

std::string_view TextLine::word(char const* what) {
    begin = position;
    if (position == end) fail(std::string("the ") + what + " is missing");
    while (position < end && !is_blank(text[position])) ++position;
    const std::string_view found = text.substr(begin, position - begin);
    skip_blanks();
    return found;
}

uint32_t TextLine::number(char const* what, uint32_t lowest, uint32_t highest) {
    const std::string_view found = word(what);
    const std::optional<uint64_t> value = whole_number(found);
    if (value && *value >= lowest && *value <= highest) return static_cast<uint32_t>(*value);
    fail(in_quotes(found) + " is no " + what + ", which is " + std::to_string(lowest) + " to " +
         std::to_string(highest));
}

std::string_view TextLine::rest() {
    begin = position;
    position = end;
    return text.substr(begin, end - begin);
}

void TextLine::fail(std::string const& reason) const {
    throw Kit::InputError(place + ":" + std::to_string(begin + 1) + ": " + reason);
}

void TextLine::skip_blanks() {
    while (position < end && is_blank(text[position])) ++position;
}

void for_each_line(std::string const& name, std::string const& text,
                   std::function<void(TextLine&, int)> const& use) {
    std::string_view left = text;
    for (int number = 1; !left.empty(); ++number) {
        const size_t end = std::min(left.find('\n'), left.size());
        TextLine line(left.substr(0, end), printable(name) + ":" + std::to_string(number));
        left.remove_prefix(std::min(end + 1, left.size()));
        if (!line.is_empty()) use(line, number);
    }
}

}  // namespace Tools
