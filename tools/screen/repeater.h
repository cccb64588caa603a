#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/cli/options.h"
#include "tools/cli/verb.h"
#include "tools/screen/line.h"
#include "tools/screen/live_screen.h"
#include "tools/screen/terminal.h"

namespace Tools {

/** How often something is looked at. */
struct Repetition {
    double interval_s = 1;
    uint64_t count = 0;  // 0: without limit
};

/** Adds --interval and --count, and returns them. */
std::vector<Option> add_repetition(OptionParser& parser, Repetition& repetition);

/**
 * Takes turns until there were enough of them or the user ends them: Ctrl-C, or q where pictures
 * are drawn. On a terminal a picture is drawn in place of the one before. The console outlives the
 * object. One thread at a time. Throws what the console's output throws.
 */
class Repeater {
public:
    /** @param pictures whether to draw pictures, if standard output is a terminal. */
    Repeater(Repetition const& repetition, bool pictures, Console& console);

    /** Whether show() draws pictures; else the caller prints. */
    bool draws() const { return screen_ != nullptr; }

    /** Waits until it is time for the next turn, the first one at once. False when there is none.
     */
    bool next();

    /** Draws a picture; its lines are asked for again when the window has changed. */
    void show(std::function<std::vector<ScreenLine>(WindowSize)> lines);

private:
    using Clock = std::chrono::steady_clock;

    bool is_over();
    void look_at_terminal();
    void draw();

    Console& console_;
    Clock::duration interval_;
    uint64_t count_;
    bool is_limited_;
    bool coloured_;
    Clock::time_point due_ = Clock::now();
    std::unique_ptr<LiveScreen> screen_;
    std::function<std::vector<ScreenLine>(WindowSize)> picture_;
    WindowSize drawn_size_;
};

}  // namespace Tools
