#include "tools/screen/repeater.h"

#include <algorithm>
#include <utility>

#include "kit/base/positive_number.h"
#include "kit/base/text.h"
#include "tools/cli/options.h"
#include "tools/cli/signals.h"
#include "tools/cli/wait.h"

namespace Tools {

namespace {

constexpr double kLongestInterval = 86400;

}  // namespace

std::vector<Option> add_repetition(OptionParser& parser, Repetition& repetition) {
    const auto take_interval = [&repetition](std::string const& text) -> std::string {
        const auto seconds = Kit::positive_number(text);
        if (!seconds || *seconds > kLongestInterval) {
            return Kit::quoted(text) + " is not a number of seconds up to a day";
        }
        repetition.interval_s = *seconds;
        return "";
    };
    return {
        parser.add_value("--interval", "S", take_interval, "Repeat every S seconds; without it, 1"),
        parser.add_count("--count", repetition.count, "End after N times")};
}

Repeater::Repeater(Repetition const& repetition, bool pictures, Console& console)
    : console_(console),
      interval_(std::chrono::duration_cast<Clock::duration>(
          std::chrono::duration<double>(repetition.interval_s))),
      count_(repetition.count),
      is_limited_(repetition.count > 0),
      coloured_(takes_colour(console.out.fd())) {
    if (!pictures || !takes_pictures(console_.out.fd())) return;
    watch_terminal_signals();
    screen_ = std::make_unique<LiveScreen>(console_.out);
}

bool Repeater::next() {
    if (is_limited_ && count_-- == 0) return false;
    console_.out.flush();
    while (Clock::now() < due_) {
        if (is_over()) return false;
        look_at_terminal();
        wait_a_tick(std::chrono::ceil<std::chrono::milliseconds>(due_ - Clock::now()));
    }
    if (is_over()) return false;
    // What took longer than the interval is not made up for.
    due_ = std::max(due_ + interval_, Clock::now());
    return true;
}

void Repeater::show(std::function<std::vector<ScreenLine>(WindowSize)> lines) {
    picture_ = std::move(lines);
    draw();
}

bool Repeater::is_over() {
    console_.out.check_reader();
    return was_interrupted() || (screen_ != nullptr && screen_->was_typed('q'));
}

void Repeater::look_at_terminal() {
    if (screen_ == nullptr || !picture_) return;
    const WindowSize size = window_size(console_.out.fd());
    bool is_spoilt = size.columns != drawn_size_.columns || size.rows != drawn_size_.rows;
    if (wants_suspension()) {
        screen_->leave();
        suspend();
        screen_->enter();
        is_spoilt = true;
    }
    if (is_spoilt) draw();
}

void Repeater::draw() {
    drawn_size_ = window_size(console_.out.fd());
    screen_->draw(fit_lines(picture_(drawn_size_), drawn_size_, coloured_));
}

}  // namespace Tools
