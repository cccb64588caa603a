#pragma once

#include <termios.h>

#include <string>
#include <vector>

namespace Tools {

/** Keys that are no character. A character's key is the character itself. */
constexpr int kKeyUp = 256;
constexpr int kKeyDown = 257;
constexpr int kKeyRight = 258;
constexpr int kKeyLeft = 259;
constexpr int kKeyHome = 260;

/** The keys in what a terminal sent; takes them off the front of `bytes`. */
std::vector<int> take_keys(std::string& bytes);

/**
 * The keys that the user types on the terminal that is standard input, without Enter and without
 * echo. Inactive where standard input is something else or belongs to another process. The
 * destructor restores the terminal. One thread at a time; one object at a time.
 */
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(Keyboard const&) = delete;
    Keyboard& operator=(Keyboard const&) = delete;

    /** Whether keys can be read. */
    bool is_active() const { return active_; }

    /** What was typed since the last call. */
    std::vector<int> typed();

    /** Restores the terminal until enter(), as for the time in which the process is stopped. */
    void leave();
    void enter();

private:
    bool active_ = false;
    termios before_ = {};  // the terminal's settings
    std::string bytes_;
};

}  // namespace Tools
