#include "tools/screen/line.h"

#include "tools/cli/ansi.h"

namespace Tools {

namespace {

bool continues_a_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/** The first `width` characters of a text in UTF-8. */
std::string first_characters(std::string const& text, int width) {
    int characters = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!continues_a_character(text[i]) && ++characters > width) return text.substr(0, i);
    }
    return text;
}

}  // namespace

std::string coloured_text(ScreenLine const& line, bool coloured) {
    return coloured ? Ansi::styled(line.colour, line.text) : line.text;
}

std::vector<std::string> fit_lines(std::vector<ScreenLine> const& lines, WindowSize window,
                                   bool coloured) {
    std::vector<std::string> fitting;
    for (ScreenLine const& line : lines) {
        if (static_cast<int>(fitting.size()) == window.rows) break;
        fitting.push_back(
            coloured_text({line.colour, first_characters(line.text, window.columns)}, coloured));
    }
    return fitting;
}

}  // namespace Tools
