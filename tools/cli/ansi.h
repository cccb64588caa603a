#pragma once

#include <string>

// What this program sends to terminals: control sequences of ECMA-48, and private modes of xterm
// that today's terminals share.

namespace Tools::Ansi {

constexpr char kPlain[] = "\x1b[0m";
constexpr char kBold[] = "\x1b[1m";
constexpr char kDim[] = "\x1b[2m";
constexpr char kRed[] = "\x1b[31m";
constexpr char kGreen[] = "\x1b[32m";
constexpr char kYellow[] = "\x1b[33m";
constexpr char kCyan[] = "\x1b[36m";

constexpr char kTopLeft[] = "\x1b[H";
constexpr char kEraseScreen[] = "\x1b[2J";
constexpr char kEraseBelow[] = "\x1b[J";
/** From the cursor to the end of the line. */
constexpr char kEraseRight[] = "\x1b[K";
/** The whole line, at whose beginning the cursor is then. */
constexpr char kEraseLine[] = "\r\x1b[K";

/** A second screen, after which the first one is as it was. */
constexpr char kEnterSecondScreen[] = "\x1b[?1049h";
constexpr char kLeaveSecondScreen[] = "\x1b[?1049l";
constexpr char kHideCursor[] = "\x1b[?25l";
constexpr char kShowCursor[] = "\x1b[?25h";
/** Whether lines that are too long continue on the next one. */
constexpr char kStopWrapping[] = "\x1b[?7l";
constexpr char kStartWrapping[] = "\x1b[?7h";

/** The text in a colour or another style of these; as it is where `style` is empty. */
inline std::string styled(std::string const& style, std::string const& text) {
    return style.empty() ? text : style + text + kPlain;
}

}  // namespace Tools::Ansi
