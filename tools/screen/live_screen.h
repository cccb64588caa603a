#pragma once

#include <termios.h>

#include <string>
#include <vector>

#include "tools/cli/output.h"

namespace Tools {

/**
 * A picture that is drawn again and again in the same place of a terminal, on its second screen, so
 * that what was there before is there afterwards. While the object lives the cursor is hidden and
 * what is typed is not shown; the destructor restores everything. The output outlives the object.
 * One thread at a time; one object at a time.
 */
class LiveScreen {
public:
    explicit LiveScreen(Output& out);
    ~LiveScreen();
    LiveScreen(LiveScreen const&) = delete;
    LiveScreen& operator=(LiveScreen const&) = delete;

    /** Replaces the picture. Throws what the output throws. */
    void draw(std::vector<std::string> const& lines);

    /** Whether `key` is among what was typed since the last call. */
    bool was_typed(char key) const;

    /** Gives the terminal back until enter(): the first screen, the cursor, the typing. */
    void leave();
    void enter();

private:
    void hide_typing();
    void show_typing();

    Output& out_;
    bool entered_ = false;
    bool typing_is_hidden_ = false;
    termios typing_ = {};  // how the terminal was set
};

}  // namespace Tools
