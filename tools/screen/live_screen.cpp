#include "tools/screen/live_screen.h"

#include <algorithm>
#include <exception>

#include "tools/cli/ansi.h"

namespace Tools {

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
    out_.write(Ansi::kTopLeft);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) out_.write("\r\n");
        // Erased before it is written: behind a full line the cursor stands on its last character.
        out_.write(Ansi::kEraseRight);
        out_.write(lines[i]);
    }
    out_.write(Ansi::kEraseBelow);
    out_.flush();
}

bool LiveScreen::was_typed(char key) {
    const std::vector<int> keys = keyboard_.typed();
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

void LiveScreen::enter() {
    if (entered_) return;
    entered_ = true;
    keyboard_.enter();
    for (char const* const sequence : {Ansi::kEnterSecondScreen, Ansi::kHideCursor,
                                       Ansi::kStopWrapping, Ansi::kTopLeft, Ansi::kEraseScreen}) {
        out_.write(sequence);
    }
    out_.flush();
}

void LiveScreen::leave() {
    if (!entered_) return;
    entered_ = false;
    keyboard_.leave();
    for (char const* const sequence :
         {Ansi::kPlain, Ansi::kStartWrapping, Ansi::kShowCursor, Ansi::kLeaveSecondScreen}) {
        out_.write(sequence);
    }
    out_.flush();
}

}  // namespace Tools
