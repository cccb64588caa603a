#pragma once

#include <string>
#include <vector>

#include "tools/screen/terminal.h"

namespace Tools {

/** One line of a picture or a report, without its end. */
struct ScreenLine {
    std::string colour;  // an escape sequence, one of those below; empty for none
    std::string text;    // in UTF-8
};

constexpr char kBold[] = "\x1b[1m";
constexpr char kDim[] = "\x1b[2m";
constexpr char kRed[] = "\x1b[31m";
constexpr char kGreen[] = "\x1b[32m";
constexpr char kYellow[] = "\x1b[33m";

/** The line with its colour, if that is wanted. */
std::string coloured_text(ScreenLine const& line, bool coloured);

/** As many lines and characters as a window has room for; coloured, if that is wanted. */
std::vector<std::string> fit_lines(std::vector<ScreenLine> const& lines, WindowSize window,
                                   bool coloured);

}  // namespace Tools
