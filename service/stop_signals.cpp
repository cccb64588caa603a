#include "service/stop_signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "log/ilog.h"

namespace Service {

namespace {

using Clock = std::chrono::steady_clock;

bool is_ignored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/** The signal that waits to be read; 0 when none does. */
int take_signal(Kit::FileDescriptor const& fd) {
    signalfd_siginfo signal = {};
    const bool taken = read(fd.get(), &signal, sizeof(signal)) == ssize_t{sizeof(signal)};
    return taken ? static_cast<int>(signal.ssi_signo) : 0;
}

char const* name_of(int signal) {
    if (signal == SIGINT) return "SIGINT";
    return signal == SIGTERM ? "SIGTERM" : "SIGHUP";
}

/** Ends the process as the signal would have done. */
void die_of(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(signal);
}

}  // namespace

StopSignals::StopSignals() : end_(eventfd(0, EFD_CLOEXEC)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    if (!is_ignored(SIGHUP)) sigaddset(&signals_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    fd_.reset(signalfd(-1, &signals_, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!fd_.valid() || !end_.valid()) {
        throw Kit::Error("Failed to watch for signals: " + Kit::errno_text(errno));
    }
}

StopSignals::~StopSignals() {
    if (!killer_.joinable()) return;
    eventfd_write(end_.get(), 1);  // cannot fail: the counter is at 0
    killer_.join();
}

void StopSignals::watch(Petrel::Block& block) {
    constexpr uint16_t kReadable = 1;
    port_ = block.make_fdport("signals", fd_.get(), kReadable);
}

bool StopSignals::is_triggered() {
    if (port_ == nullptr || port_->triggered() == 0) return false;
    const int signal = take_signal(fd_);
    if (signal == 0) return false;
    Petrel::ilog(0) << "Stopping on " << name_of(signal) << std::endl;
    return true;
}

void StopSignals::let_next_one_kill(std::chrono::milliseconds earliest) {
    killer_ = std::thread(&StopSignals::wait_for_next_one, this, Clock::now() + earliest);
}

void StopSignals::wait_for_next_one(Clock::time_point earliest) {
    int signal = 0;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(earliest - Clock::now());
        if (signal != 0 && left.count() <= 0) die_of(signal);
        const int wait = signal != 0 ? static_cast<int>(left.count()) : -1;
        std::array<pollfd, 2> waits = {{{end_.get(), POLLIN, 0}, {fd_.get(), POLLIN, 0}}};
        poll(waits.data(), waits.size(), wait);
        if (waits[0].revents != 0) return;
        if (const int next = take_signal(fd_); next != 0) signal = next;
    }
}

}  // namespace Service
