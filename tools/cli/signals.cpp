#include "tools/cli/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace Tools {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<bool> suspension_wanted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers set these");

void on_interruption(int) {
    interrupted = true;
}

void on_window_change(int) {}

void on_suspension(int) {
    suspension_wanted = true;
}

void handle(int signal, void (*handler)(int), unsigned int flags) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) return;
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(flags);  // no SA_RESTART: a wait ends
    sigaction(signal, &action, nullptr);
}

/** So that no file or socket of the program takes the place of a closed standard stream; writing to
 * one that was closed still fails. */
void open_standard_descriptors() {
    int fd = -1;
    do {
        fd = open("/dev/null", O_RDONLY);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) close(fd);
}

}  // namespace

void prepare_process() {
    open_standard_descriptors();
    std::signal(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        handle(signal, on_interruption, SA_RESETHAND);
}

bool was_interrupted() noexcept {
    return interrupted;
}

void watch_terminal_signals() {
    handle(SIGWINCH, on_window_change, 0);
    handle(SIGTSTP, on_suspension, 0);
}

bool wants_suspension() noexcept {
    return suspension_wanted.exchange(false);
}

void suspend() {
    raise(SIGSTOP);
}

}  // namespace Tools
