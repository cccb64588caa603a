#include "chip/simulator.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <cerrno>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"

#include "chip/keeper.h"

namespace Chip {

namespace {

int open_signals() {
    const sigset_t signals = watched_signals();
    const int fd = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd < 0) throw Kit::Error("no signal descriptor: " + Kit::errno_text(errno));
    return fd;
}

timespec until(FrameFeed::Clock::time_point due) {
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    const auto left = std::max(due - FrameFeed::Clock::now(), FrameFeed::Clock::duration::zero());
    const auto whole = std::chrono::duration_cast<seconds>(left);
    return {static_cast<time_t>(whole.count()),
            static_cast<long>(nanoseconds(left - whole).count())};
}

}  // namespace

Simulator::Simulator(DeviceServer& device, FrameFeed& feed, Command* command)
    : device_(device), feed_(feed), command_(command), signals_(open_signals()) {}

int Simulator::run() {
    while (true) {
        wait();
        feed_.advance(FrameFeed::Clock::now());
        if (requested_) {
            mounted_ = device_.serve();
            // At once, should it have enabled the chip.
            feed_.advance(FrameFeed::Clock::now());
        }
        if (signalled_ && take_signal() && command_ == nullptr) return 0;
        if (command_ == nullptr) continue;
        if (const std::optional<int> status = command_->status()) return *status;
    }
}

void Simulator::wait() {
    // An unmounted device fires no more; the command may still be at work.
    pollfd waits[] = {{mounted_ ? device_.fd() : -1, POLLIN, 0}, {signals_.get(), POLLIN, 0}};
    const std::optional<FrameFeed::Clock::time_point> due = feed_.next_due();
    const timespec limit = due ? until(*due) : timespec();
    if (ppoll(waits, 2, due ? &limit : nullptr, nullptr) <= 0) {
        requested_ = false;
        signalled_ = false;
        return;
    }
    requested_ = waits[0].revents != 0;
    signalled_ = waits[1].revents != 0;
}

bool Simulator::take_signal() {
    signalfd_siginfo info = {};
    if (read(signals_.get(), &info, sizeof info) != ssize_t{sizeof info}) return false;
    const auto number = static_cast<int>(info.ssi_signo);
    if (number == SIGCHLD) return false;
    if (command_ != nullptr && sent_by_program(info.ssi_code)) command_->send(number);
    return true;
}

}  // namespace Chip
