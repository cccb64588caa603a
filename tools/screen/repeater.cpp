#include "tools/screen/repeater.h"

#include <poll.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "kit/base/positive_number.h"
#include "tools/cli/options.h"
#include "tools/cli/signals.h"

namespace Tools {

namespace {

/** How soon Ctrl-C, a key and the end of a reader are noticed. */
constexpr std::chrono::milliseconds kTick(50);

constexpr double kLongestInterval = 86400;

bool is_interval(std::string const& text) {
    const auto number = Kit::positive_number(text);
    return number && *number <= kLongestInterval;
}

}  // namespace

void add_repetition(CLI::App& parser, Repetition& repetition) {
    parser.add_option("--interval", repetition.interval_s, "Look every S seconds; without it, 1")
        ->type_name("S")
        ->check(CLI::Validator(
            [](std::string& text) -> std::string {
                return is_interval(text) ? ""
                                         : "'" + text + "' is no number of seconds up to a day";
            },
            ""));
    add_count(parser, "--count", repetition.count, "End after N looks");
}

Repeater::Repeater(Repetition const& repetition, bool pictures, Console& console_)
    : console(console_),
      interval(std::chrono::duration_cast<Clock::duration>(
          std::chrono::duration<double>(repetition.interval_s))),
      count(repetition.count),
      is_limited(repetition.count > 0),
      coloured(takes_colour(console_.out.fd())) {
    if (!pictures || !takes_pictures(console.out.fd())) return;
    watch_terminal_signals();
    screen = std::make_unique<LiveScreen>(console.out);
}

bool Repeater::next() {
    if (is_limited && count-- == 0) return false;
    console.out.flush();
    while (Clock::now() < due) {
        if (is_over()) return false;
        look_at_terminal();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
        poll(nullptr, 0,
             static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), kTick).count()));
    }
    if (is_over()) return false;
    // What took longer than the interval is not made up for.
    due = std::max(due + interval, Clock::now());
    return true;
}

void Repeater::show(std::function<std::vector<ScreenLine>(WindowSize)> lines) {
    picture = std::move(lines);
    draw();
}

bool Repeater::is_over() {
    console.out.check_reader();
    return was_interrupted() || (screen != nullptr && screen->was_typed('q'));
}

void Repeater::look_at_terminal() {
    if (screen == nullptr || !picture) return;
    const WindowSize size = window_size(console.out.fd());
    bool is_spoilt = size.columns != drawn_size.columns || size.rows != drawn_size.rows;
    if (wants_suspension()) {
        screen->leave();
        suspend();
        screen->enter();
        is_spoilt = true;
    }
    if (is_spoilt) draw();
}

void Repeater::draw() {
    drawn_size = window_size(console.out.fd());
    screen->draw(fit_lines(picture(drawn_size), drawn_size, coloured));
}

}  // namespace Tools
