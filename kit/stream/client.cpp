#include "kit/stream/client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/stream/format.h"
#include "kit/stream/unix_address.h"

namespace Kit {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr size_t kPieceSize = 65536;

/** The time limit for connecting to a service whose backlog is full. */
constexpr time_t kConnectSeconds = 2;

int connected_socket(std::string const& path) {
    const UnixAddress address(path);
    FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval limit = {kConnectSeconds, 0};
    if (fd.valid() && setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 &&
        connect_to(fd.get(), address)) {
        return fd.release();
    }
    throw InputError(path + ": cannot connect: " + errno_text(errno));
}

/** The time-out of poll() for `deadline`, rounded up. */
int milliseconds_until(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, 60 * 60 * 1000));
}

}  // namespace

StreamClient::StreamClient(std::string const& path) : StreamClient(connected_socket(path)) {}

StreamClient::StreamClient(int fd) : stream_(fd), piece_(new char[kPieceSize]) {}

StreamClient::Result StreamClient::next(StreamFrame& frame, milliseconds timeout) {
    const bool limited = timeout.count() >= 0;
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;;) {
        if (state_ != Result::kFrame) return state_;
        if (const std::optional<std::string> whole = parser_.next()) return decode(frame, *whole);
        if (parser_.fault()) {
            return end(Result::kForeign, "at byte " + std::to_string(parser_.fault()->offset) +
                                             ": " + parser_.fault()->reason);
        }
        pollfd wait = {stream_.get(), POLLIN, 0};
        const int ready = poll(&wait, 1, limited ? milliseconds_until(deadline) : -1);
        if (ready == 0 && Clock::now() < deadline) continue;
        if (ready == 0 || (ready < 0 && errno == EINTR)) return Result::kTimeout;
        if (ready < 0) return end(Result::kFailed, errno_text(errno));
        read_piece();
    }
}

void StreamClient::read_piece() {
    const ssize_t size = read(stream_.get(), piece_.get(), kPieceSize);
    if (size > 0) {
        parser_.append({piece_.get(), static_cast<size_t>(size)});
    } else if (size < 0 && errno != EAGAIN && errno != EINTR) {
        end(Result::kFailed, errno_text(errno));
    } else if (size == 0 && parser_.pending() > 0) {
        end(Result::kTruncated,
            "ended " + std::to_string(parser_.pending()) + " bytes into a frame");
    } else if (size == 0) {
        end(Result::kEnd, "");
    }
}

StreamClient::Result StreamClient::decode(StreamFrame& frame, std::string const& stream_frame) {
    ++frames_;
    frame.payload.assign(stream_frame, kStreamHeaderSize, std::string::npos);
    if (frame.objects.ParseFromString(frame.payload)) return Result::kFrame;
    problem_ = "frame " + std::to_string(frames_) + ", " + std::to_string(frame.payload.size()) +
               " bytes, does not decode";
    return Result::kUndecodable;
}

StreamClient::Result StreamClient::end(Result result, std::string const& problem) {
    state_ = result;
    problem_ = problem;
    return result;
}

std::string const& StreamClient::problem() const noexcept {
    return problem_;
}

uint64_t StreamClient::bytes() const noexcept {
    return parser_.offset();
}

int StreamClient::fd() const noexcept {
    return stream_.get();
}

}  // namespace Kit
