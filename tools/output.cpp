#include "tools/output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kit/input_error.h"
#include "tools/signals.h"

namespace Tools {

namespace {

constexpr std::size_t kPieceSize = 65536;

/** Waits until a descriptor that somebody else made non-blocking takes more. */
void wait_until_writable(int fd) {
    pollfd wait = {fd, POLLOUT, 0};
    poll(&wait, 1, -1);
}

}  // namespace

Output::Output(int fd) : descriptor(fd) {}

void Output::write(std::string_view data) {
    if (data.size() >= kPieceSize) {
        flush();
        put(data);
        return;
    }
    collected += data;
    if (collected.size() >= kPieceSize) flush();
}

void Output::flush() {
    put(collected);
    collected.clear();
}

void Output::put(std::string_view left) const {
    while (!left.empty()) {
        const ssize_t written = ::write(descriptor, left.data(), left.size());
        if (written >= 0) {
            left.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE || (errno == EINTR && was_interrupted())) {
            throw OutputClosed();
        } else if (errno == EAGAIN) {
            wait_until_writable(descriptor);
        } else if (errno != EINTR) {
            throw Kit::InputError(std::string("standard output: ") + std::strerror(errno));
        }
    }
}

bool Output::is_terminal() const noexcept {
    return isatty(descriptor) == 1;
}

int Output::fd() const noexcept {
    return descriptor;
}

void Output::check_reader() const {
    pollfd state = {descriptor, 0, 0};
    if (poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0) throw OutputClosed();
}

}  // namespace Tools
