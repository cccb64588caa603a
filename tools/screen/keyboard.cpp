#include "tools/screen/keyboard.h"

#include <poll.h>
#include <unistd.h>

#include <array>

namespace Tools {

namespace {

/** By the last character of a sequence, which begins with ESC and "[" or "O"; 0 for other keys. */
int key_of(char last) {
    switch (last) {
        case 'A':
            return kKeyUp;
        case 'B':
            return kKeyDown;
        case 'C':
            return kKeyRight;
        case 'D':
            return kKeyLeft;
        case 'H':
            return kKeyHome;
        default:
            return 0;
    }
}

bool begins_sequence(std::string const& bytes) {
    return bytes.size() >= 2 && bytes[0] == '\x1b' && (bytes[1] == '[' || bytes[1] == 'O');
}

/** The length of the sequence in front, "\x1b[1;5C" for example; 0 when its end is to come. */
size_t sequence_size(std::string const& bytes) {
    for (size_t i = 2; i < bytes.size(); ++i) {
        if (bytes[i] >= '@' && bytes[i] <= '~') return i + 1;
    }
    return 0;
}

}  // namespace

std::vector<int> take_keys(std::string& bytes) {
    std::vector<int> keys;
    while (!bytes.empty()) {
        size_t size = 1;
        int key = static_cast<unsigned char>(bytes[0]);
        if (begins_sequence(bytes)) {
            size = sequence_size(bytes);
            if (size == 0) break;
            key = key_of(bytes[size - 1]);
        }
        bytes.erase(0, size);
        if (key != 0) keys.push_back(key);
    }
    return keys;
}

Keyboard::Keyboard() {
    enter();
}

Keyboard::~Keyboard() {
    leave();
}

std::vector<int> Keyboard::typed() {
    std::array<char, 64> piece;
    pollfd wait = {STDIN_FILENO, POLLIN, 0};
    while (active_ && poll(&wait, 1, 0) == 1) {
        const ssize_t count = read(STDIN_FILENO, piece.data(), piece.size());
        if (count <= 0) {
            leave();  // the terminal has gone
            break;
        }
        bytes_.append(piece.data(), static_cast<size_t>(count));
    }
    return take_keys(bytes_);
}

void Keyboard::enter() {
    if (active_ || tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &before_) != 0) {
        return;
    }
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    active_ = tcsetattr(STDIN_FILENO, TCSANOW, &hidden) == 0;
}

void Keyboard::leave() {
    if (active_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    active_ = false;
}

}  // namespace Tools
