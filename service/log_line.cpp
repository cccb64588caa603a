#include "service/log_line.h"

#include <algorithm>
#include <sstream>

namespace Service {

namespace {

bool is_control(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

void append_escaped(std::string& line, char character) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    line += "\\x";
    line += kDigits[byte >> 4];
    line += kDigits[byte & 0xF];
}

bool is_name_or_number(std::string const& word) {
    return std::any_of(word.begin(), word.end(), [](char character) {
        return character == '/' || (character >= '0' && character <= '9');
    });
}

}  // namespace

std::string log_line(std::string const& text) {
    constexpr char kMore[] = "...";
    size_t end = text.size();
    while (end > 0 && text[end - 1] == '\n') --end;
    std::string line;
    for (size_t i = 0; i < end; ++i) {
        if (line.size() > kLongestLogLine - sizeof(kMore) - 4) return line + kMore;
        if (is_control(text[i])) {
            append_escaped(line, text[i]);
        } else {
            line += text[i];
        }
    }
    return line;
}

std::string log_kind(std::string const& line) {
    std::istringstream words(line);
    std::string kind;
    for (std::string word; words >> word;) kind += (is_name_or_number(word) ? "*" : word) + " ";
    return kind;
}

}  // namespace Service
