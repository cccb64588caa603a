#include "tools/status/source.h"

#include <fmt/core.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/stream/unix_address.h"
#include "tools/cli/signals.h"
#include "tools/cli/wait.h"

namespace Tools {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr size_t kLargestDocument = 16U << 20;

/** One connection to a service, with a deadline for everything. */
class StatusConnection {
public:
    StatusConnection(std::string const& path, milliseconds patience)
        : path_(path),
          patience_(patience),
          deadline_(Clock::now() + patience),
          fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        if (fd_ < 0) fail(Kit::errno_text(errno));
    }
    ~StatusConnection() {
        if (fd_ >= 0) close(fd_);
    }
    StatusConnection(StatusConnection const&) = delete;
    StatusConnection& operator=(StatusConnection const&) = delete;

    void connect() const {
        const Kit::UnixAddress address(path_);
        while (!Kit::connect_to(fd_, address)) {
            const int error = errno;
            const bool is_nobody_there = error == ENOENT || error == ECONNREFUSED;
            if (is_nobody_there) {
                fail(Kit::errno_text(error) + "; is the service running?");
            }
            // EAGAIN: more are waiting there than the service has taken.
            if (error != EAGAIN && error != EINTR) fail(Kit::errno_text(error));
            wait(0);
        }
    }

    std::string read_to_end() const {
        std::string document;
        std::array<char, 16384> piece;
        for (;;) {
            const ssize_t size = read(fd_, piece.data(), piece.size());
            if (size == 0) return document;
            if (size > 0) {
                document.append(piece.data(), static_cast<size_t>(size));
            } else if (errno == EAGAIN || errno == EINTR) {
                wait(POLLIN);
            } else {
                fail(Kit::errno_text(errno));
            }
            if (document.size() > kLargestDocument) fail("the status is larger than 16 MiB");
        }
    }

private:
    /** Waits for the service, for a tick at most. */
    void wait(short events) const {
        if (was_interrupted()) fail("interrupted");
        const Clock::time_point now = Clock::now();
        if (now >= deadline_) {
            fail(fmt::format("the service does not answer within {} ms", patience_.count()));
        }
        wait_a_tick_for(events != 0 ? fd_ : -1, events,
                        std::chrono::ceil<milliseconds>(deadline_ - now));
    }

    [[noreturn]] void fail(std::string const& reason) const {
        throw Kit::InputError("unix:" + Kit::printable(path_) + ": " + reason);
    }

    std::string const& path_;
    milliseconds patience_;
    Clock::time_point deadline_;
    int fd_;
};

}  // namespace

std::string read_status(std::string const& path, milliseconds patience) {
    const StatusConnection connection(path, patience);
    connection.connect();
    return connection.read_to_end();
}

}  // namespace Tools
