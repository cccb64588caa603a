#include "tools/cli/text_line.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/whole_number.h"

namespace Tools {

namespace {

bool is_blank(char character) {
    return character == ' ' || character == '\t';
}

}  // namespace

TextLine::TextLine(std::string_view text, std::string place)
    : text_(text), place_(std::move(place)), end_(text.size()) {
    while (end_ > 0 && (is_blank(text_[end_ - 1]) || text_[end_ - 1] == '\r')) --end_;
    skip_blanks();
}

bool TextLine::is_empty() const {
    return position_ == end_ || text_[position_] == '#';
}

bool TextLine::is_at_end() const {
    return position_ == end_;
}

std::string_view TextLine::word(char const* what) {
    begin_ = position_;
    if (position_ == end_) fail(fmt::format("the {} is missing", what));
    while (position_ < end_ && !is_blank(text_[position_])) ++position_;
    const std::string_view found = text_.substr(begin_, position_ - begin_);
    skip_blanks();
    return found;
}

uint32_t TextLine::number(char const* what, uint32_t lowest, uint32_t highest) {
    const std::string_view found = word(what);
    const std::optional<uint64_t> value = Kit::whole_number(found);
    if (value && *value >= lowest && *value <= highest) return static_cast<uint32_t>(*value);
    fail(fmt::format("{} is not a valid {} ({} to {})", Kit::quoted(found), what, lowest, highest));
}

std::string_view TextLine::rest() {
    begin_ = position_;
    position_ = end_;
    return text_.substr(begin_, end_ - begin_);
}

void TextLine::fail(std::string const& reason) const {
    throw Kit::InputError(fmt::format("{}:{}: {}", place_, begin_ + 1, reason));
}

void TextLine::skip_blanks() {
    while (position_ < end_ && is_blank(text_[position_])) ++position_;
}

void for_each_line(std::string const& name, std::string const& text,
                   std::function<void(TextLine&, int)> const& use) {
    std::string_view left = text;
    for (int number = 1; !left.empty(); ++number) {
        const size_t end = std::min(left.find('\n'), left.size());
        TextLine line(left.substr(0, end), fmt::format("{}:{}", Kit::printable(name), number));
        left.remove_prefix(std::min(end + 1, left.size()));
        if (!line.is_empty()) use(line, number);
    }
}

}  // namespace Tools
