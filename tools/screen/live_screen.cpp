#include "tools/screen/live_screen.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>

namespace Tools {

namespace {

// The second screen, without a cursor and without wrapping of lines that are too long.
constexpr char kEnter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[H\x1b[2J";
constexpr char kLeave[] = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char kTopLeft[] = "\x1b[H";
constexpr char kEraseLine[] = "\x1b[K";
constexpr char kEraseBelow[] = "\x1b[J";

}  // namespace

LiveScreen::LiveScreen(Output& out) : out_(out) {
    enter();
}

LiveScreen::~LiveScreen() {
    try {
        leave();
    } catch (std::exception const&) {
        // A terminal that takes nothing more needs no cursor.
    } catch (OutputClosed const&) {
    }
}

void LiveScreen::draw(std::vector<std::string> const& lines) {
    out_.write(kTopLeft);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) out_.write("\r\n");
        // Erased before it is written: behind a full line the cursor stands on its last character.
        out_.write(kEraseLine);
        out_.write(lines[i]);
    }
    out_.write(kEraseBelow);
    out_.flush();
}

bool LiveScreen::was_typed(char key) const {
    std::array<char, 64> keys;
    pollfd typed = {STDIN_FILENO, POLLIN, 0};
    if (!typing_is_hidden_ || poll(&typed, 1, 0) != 1) return false;
    const ssize_t count = read(STDIN_FILENO, keys.data(), keys.size());
    return count > 0 && std::find(keys.begin(), keys.begin() + count, key) != keys.begin() + count;
}

void LiveScreen::enter() {
    if (entered_) return;
    entered_ = true;
    hide_typing();
    out_.write(kEnter);
    out_.flush();
}

void LiveScreen::leave() {
    if (!entered_) return;
    entered_ = false;
    show_typing();
    out_.write(kLeave);
    out_.flush();
}

void LiveScreen::hide_typing() {
    if (tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &typing_) != 0) return;
    termios hidden = typing_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    typing_is_hidden_ = tcsetattr(STDIN_FILENO, TCSANOW, &hidden) == 0;
}

void LiveScreen::show_typing() {
    if (typing_is_hidden_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &typing_);
    typing_is_hidden_ = false;
}

}  // namespace Tools
