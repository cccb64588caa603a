#include "tools/listen/view.h"

#include <fmt/core.h>
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
    PlainView(FrameFormat format, Console& console)
        : console_(console), printer_(format, console.out) {
        printer_.begin();
        console_.out.flush();
    }

    void show(RO::RadarObjects const& frame, LiveStatus const& /*status*/) override {
        printer_.print(frame);
        console_.out.flush();
    }

    void idle(LiveStatus const& /*status*/) override { console_.out.check_reader(); }

    bool wants_end() override { return false; }

    void report_event(std::string const& what, bool is_problem) override {
        is_problem ? console_.messages.warn(what) : console_.messages.note(what);
    }

private:
    Console& console_;
    FramePrinter printer_;
};

class LiveView final : public ListenView {
public:
    explicit LiveView(Console& console)
        : console_(console),
          coloured_(takes_colour(console.out.fd())),
          shares_terminal_(isatty(STDERR_FILENO) == 1) {
        watch_terminal_signals();
        screen_ = std::make_unique<LiveScreen>(console_.out);
    }

    ~LiveView() override {
        screen_.reset();
        if (omitted_ > 0) print({fmt::format("{} earlier messages", omitted_), false});
        for (auto const& event : pending_) print(event);
    }

    void show(RO::RadarObjects const& frame, LiveStatus const& status) override {
        last_ = frame;
        if (Clock::now() - drawn_ >= kShortestPause) redraw(status);
    }

    void idle(LiveStatus const& status) override {
        if (wants_suspension()) {
            screen_->leave();
            suspend();
            screen_->enter();
        }
        redraw(status);
    }

    bool wants_end() override { return screen_->was_typed('q'); }

    // Messages on the same terminal would spoil the picture; its first line shows the state.
    void report_event(std::string const& what, bool is_problem) override {
        if (!shares_terminal_) return print({what, is_problem});
        pending_.emplace_back(what, is_problem);
        if (pending_.size() <= kMessagesKept) return;
        pending_.pop_front();
        ++omitted_;
    }

private:
    using Clock = std::chrono::steady_clock;
    using Event = std::pair<std::string, bool>;

    static constexpr std::chrono::milliseconds kShortestPause{33};
    static constexpr size_t kMessagesKept = 20;

    void redraw(LiveStatus const& status) {
        drawn_ = Clock::now();
        screen_->draw(draw_target_table(status, last_, window_size(console_.out.fd()), coloured_));
    }

    void print(Event const& event) const {
        event.second ? console_.messages.warn(event.first) : console_.messages.note(event.first);
    }

    Console& console_;
    bool coloured_;
    bool shares_terminal_;
    std::unique_ptr<LiveScreen> screen_;
    RO::RadarObjects last_;
    Clock::time_point drawn_;
    std::deque<Event> pending_;
    uint64_t omitted_ = 0;
};

}  // namespace

std::unique_ptr<ListenView> make_plain_view(FrameFormat format, Console& console) {
    return std::make_unique<PlainView>(format, console);
}

std::unique_ptr<ListenView> make_live_view(Console& console) {
    return std::make_unique<LiveView>(console);
}

}  // namespace Tools
