#pragma once

#include <string>
#include <vector>

#include "tools/screen/terminal.h"

namespace Tools {

/** One line of a picture or a report, without its end. */
struct ScreenLine {
    std::string colour;  // a style of cli/ansi.h; empty for none
    std::string text;    // in UTF-8
};

/** The line with its colour, if that is wanted. */
std::string coloured_text(ScreenLine const& line, bool coloured);

/** As many lines and characters as a window has room for; coloured, if that is wanted. */
std::vector<std::string> fit_lines(std::vector<ScreenLine> const& lines, WindowSize window,
                                   bool coloured);

}  // namespace Tools
