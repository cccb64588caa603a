#include "tools/listen/view.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <utility>

#include "tools/cli/signals.h"
#include "tools/screen/live_screen.h"

namespace Tools {

namespace {

class PlainView final : public ListenView {
public:
    PlainView(FrameFormat format, Console& console_)
        : console(console_), printer(format, console_.out) {
        printer.begin();
        console.out.flush();
    }

    void show(RO::RadarObjects const& frame, StreamStatus const& /*status*/) override {
        printer.print(frame);
        console.out.flush();
    }

    void idle(StreamStatus const& /*status*/) override { console.out.check_reader(); }

    bool wants_end() override { return false; }

    void tell(std::string const& what, bool is_problem) override {
        is_problem ? console.messages.warn(what) : console.messages.note(what);
    }

private:
    Console& console;
    FramePrinter printer;
};

class LiveView final : public ListenView {
public:
    explicit LiveView(Console& console_)
        : console(console_),
          coloured(takes_colour(console_.out.fd())),
          shares_terminal(isatty(STDERR_FILENO) == 1) {
        watch_terminal_signals();
        screen = std::make_unique<LiveScreen>(console.out);
    }

    ~LiveView() override {
        screen.reset();
        if (omitted > 0) print({std::to_string(omitted) + " earlier messages", false});
        for (auto const& told : untold) print(told);
    }

    void show(RO::RadarObjects const& frame, StreamStatus const& status) override {
        last = frame;
        if (Clock::now() - drawn >= kShortestPause) redraw(status);
    }

    void idle(StreamStatus const& status) override {
        if (wants_suspension()) {
            screen->leave();
            suspend();
            screen->enter();
        }
        redraw(status);
    }

    bool wants_end() override { return screen->was_typed('q'); }

    // Messages on the same terminal would spoil the picture; its first line shows the state.
    void tell(std::string const& what, bool is_problem) override {
        if (!shares_terminal) return print({what, is_problem});
        untold.emplace_back(what, is_problem);
        if (untold.size() <= kMessagesKept) return;
        untold.pop_front();
        ++omitted;
    }

private:
    using Clock = std::chrono::steady_clock;
    using Told = std::pair<std::string, bool>;

    static constexpr std::chrono::milliseconds kShortestPause{33};
    static constexpr size_t kMessagesKept = 20;

    void redraw(StreamStatus const& status) {
        drawn = Clock::now();
        screen->draw(draw_target_table(status, last, window_size(console.out.fd()), coloured));
    }

    void print(Told const& told) const {
        told.second ? console.messages.warn(told.first) : console.messages.note(told.first);
    }

    Console& console;
    bool coloured;
    bool shares_terminal;
    std::unique_ptr<LiveScreen> screen;
    RO::RadarObjects last;
    Clock::time_point drawn;
    std::deque<Told> untold;
    uint64_t omitted = 0;
};

}  // namespace

std::unique_ptr<ListenView> make_plain_view(FrameFormat format, Console& console) {
    return std::make_unique<PlainView>(format, console);
}

std::unique_ptr<ListenView> make_live_view(Console& console) {
    return std::make_unique<LiveView>(console);
}

}  // namespace Tools
