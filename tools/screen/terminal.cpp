#include "tools/screen/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Tools {

namespace {

std::string_view variable(char const* name) noexcept {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool understands_escapes(int fd) noexcept {
    return isatty(fd) == 1 && !variable("TERM").empty() && variable("TERM") != "dumb";
}

}  // namespace

WindowSize window_size(int fd) noexcept {
    winsize size = {};
    if (ioctl(fd, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    return {size.ws_col, size.ws_row};
}

bool takes_colour(int fd) noexcept {
    return understands_escapes(fd) && variable("NO_COLOR").empty();
}

bool takes_pictures(int fd) noexcept {
    const pid_t foreground = tcgetpgrp(fd);  // -1 for a terminal that is not the controlling one
    return understands_escapes(fd) && (foreground < 0 || foreground == getpgrp());
}

}  // namespace Tools
