#include "tools/cli/output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "tools/cli/signals.h"

namespace Tools {

namespace {

constexpr size_t kPieceSize = 65536;

constexpr int kPatienceMilliseconds = 500;

/** Waits until a descriptor that somebody else made non-blocking takes more. */
void wait_until_writable(int fd) {
    pollfd wait = {fd, POLLOUT, 0};
    poll(&wait, 1, -1);
}

/** What can be written at once without the program being held up when it has to end. */
std::string_view next_piece(int fd, std::string_view left) {
    if (!was_interrupted()) return left;
    pollfd wait = {fd, POLLOUT, 0};
    if (poll(&wait, 1, kPatienceMilliseconds) == 0) throw OutputStuck();
    return left.substr(0, PIPE_BUF);  // so much a pipe takes that takes anything
}

}  // namespace

Output::Output(int fd) : descriptor_(fd) {}

void Output::write(std::string_view data) {
    if (data.size() >= kPieceSize) {
        flush();
        put(data);
        return;
    }
    collected_ += data;
    if (collected_.size() >= kPieceSize) flush();
}

void Output::flush() {
    put(collected_);
    collected_.clear();
}

void Output::put(std::string_view left) const {
    while (!left.empty()) {
        const std::string_view piece = next_piece(descriptor_, left);
        const ssize_t written = ::write(descriptor_, piece.data(), piece.size());
        if (written >= 0) {
            left.remove_prefix(static_cast<size_t>(written));
        } else if (errno == EPIPE) {
            throw OutputClosed();
        } else if (errno == EAGAIN) {
            wait_until_writable(descriptor_);
        } else if (errno != EINTR) {
            throw Kit::Error(std::string("standard output: ") + Kit::errno_text(errno));
        }
    }
}

bool Output::is_terminal() const noexcept {
    return isatty(descriptor_) == 1;
}

int Output::fd() const noexcept {
    return descriptor_;
}

void Output::check_reader() const {
    pollfd state = {descriptor_, 0, 0};
    if (poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0) throw OutputClosed();
}

}  // namespace Tools
