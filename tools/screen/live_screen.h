#pragma once

#include <string>
#include <vector>

#include "tools/cli/output.h"
#include "tools/screen/keyboard.h"

namespace Tools {

/**
 * A picture that is drawn again and again in the same place of a terminal, on its second screen, so
 * that the first one is as before afterwards. While the object lives the cursor is hidden and what
 * is typed is not shown; the destructor restores everything. The output outlives the object.
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
    bool was_typed(char key);

    /** Restores the first screen, the cursor and the keyboard until enter(). */
    void leave();
    void enter();

private:
    Output& out_;
    Keyboard keyboard_;
    bool entered_ = false;
};

}  // namespace Tools
