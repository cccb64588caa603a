#include "kit/stream/relay_client.h"

#include <poll.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <vector>

namespace Kit {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/** Frames of one write; a client that accepts them all does not keep others waiting. */
constexpr size_t kFramesATurn = 16;

/** Where the bytes that clients send go: written by the relay's thread and never read. */
asio::mutable_buffer discarded() {
    thread_local std::array<char, 4096> bytes;
    return asio::buffer(bytes);
}

std::vector<asio::const_buffer> buffers_of(ClientQueue::Turn const& turn) {
    std::vector<asio::const_buffer> buffers;
    buffers.reserve(turn.frames.size());
    for (SharedFrame const& frame : turn.frames) buffers.emplace_back(frame->data(), frame->size());
    buffers.front() += turn.skipped;
    return buffers;
}

}  // namespace

RelayClient::RelayClient(asio::io_context& context, std::mutex& lock, RelayOptions const& options,
                         uint64_t id, Owner& owner)
    : context_(context),
      lock_(lock),
      stuck_after_(options.stuck_after),
      id_(id),
      owner_(owner),
      socket_(context),
      stuck_timer_(context),
      queue_(options.queue_frames, options.queue_bytes) {}

error_code RelayClient::start(FileDescriptor connection) {
    error_code error;
    socket_.assign(asio::local::stream_protocol(), connection.get(), error);
    if (error) return error;
    static_cast<void>(connection.release());  // the socket's now
    socket_.non_blocking(true, error);        // a write that blocks would hold up everybody
    if (error) {
        close();
        return error;
    }
    discard_input();
    return error;
}

void RelayClient::flush() {
    if (!socket_.is_open() || waits_until_writable_) return;
    switch (write_turn()) {
        case Written::kQueue:
            return owner_.client_is_idle();
        case Written::kTurn:
            return asio::post(context_, [self = shared_from_this()] { self->flush(); });
        case Written::kPart:
            wait_until_writable();
            return watch_for_stuck();
        case Written::kFailed:
            return depart(Departure::kGone);
    }
}

// The lock is not held while the system copies, so publishing never waits for that.
RelayClient::Written RelayClient::write_turn() {
    ClientQueue::Turn turn;
    {
        const std::lock_guard<std::mutex> guard(lock_);
        turn = queue_.begin_turn(kFramesATurn);
    }
    if (turn.frames.empty()) return Written::kQueue;
    const auto buffers = buffers_of(turn);
    error_code error;
    const size_t bytes = socket_.write_some(buffers, error);
    if (error && error != asio::error::would_block) return Written::kFailed;
    const std::lock_guard<std::mutex> guard(lock_);
    queue_.end_turn(bytes, ClientQueue::Clock::now());
    if (bytes < asio::buffer_size(buffers)) return Written::kPart;
    return queue_.empty() ? Written::kQueue : Written::kTurn;
}

void RelayClient::wait_until_writable() {
    waits_until_writable_ = true;
    socket_.async_wait(asio::socket_base::wait_write,
                       [self = shared_from_this()](error_code const& error) {
                           self->waits_until_writable_ = false;
                           if (!error) self->flush();
                       });
}

void RelayClient::watch_for_stuck() {
    if (watches_for_stuck_ || stuck_after_.count() <= 0) return;
    watches_for_stuck_ = true;
    {
        const std::lock_guard<std::mutex> guard(lock_);
        stuck_timer_.expires_at(queue_.waiting_since() + stuck_after_);
    }
    stuck_timer_.async_wait([self = shared_from_this()](error_code const& error) {
        self->watches_for_stuck_ = false;
        if (!error && self->socket_.is_open()) self->on_stuck_timer();
    });
}

// Writes once more first: while the whole process was stopped, the client was not the one to blame.
void RelayClient::on_stuck_timer() {
    switch (write_turn()) {
        case Written::kQueue:
            return owner_.client_is_idle();
        case Written::kFailed:
            return depart(Departure::kGone);
        case Written::kTurn:
        case Written::kPart:
            return is_stuck() ? depart(Departure::kStuck) : watch_for_stuck();
    }
}

bool RelayClient::is_stuck() {
    const std::lock_guard<std::mutex> guard(lock_);
    return ClientQueue::Clock::now() - queue_.waiting_since() >= stuck_after_;
}

void RelayClient::discard_input() {
    socket_.async_read_some(
        discarded(), [self = shared_from_this()](error_code const& error, size_t) {
            if (error == asio::error::operation_aborted || !self->socket_.is_open()) return;
            if (error == asio::error::eof) return self->watch_for_hang_up();
            if (error) return self->depart(Departure::kGone);
            self->discard_input();
        });
}

// The end of what the client sends is the same whether it has closed its socket or only shut down
// its sending side; the hang-up event is not. When something else ends the wait, or poll() fails,
// the next write detects that the client has left.
void RelayClient::watch_for_hang_up() {
    socket_.async_wait(asio::socket_base::wait_error,
                       [self = shared_from_this()](error_code const& error) {
                           if (error || !self->socket_.is_open()) return;
                           pollfd state = {self->socket_.native_handle(), 0, 0};
                           if (poll(&state, 1, 0) == 1) self->depart(Departure::kGone);
                       });
}

void RelayClient::depart(Departure departure) {
    close();
    owner_.client_left(id_, departure);
}

void RelayClient::close() {
    error_code ignored;  // the descriptor is gone whatever close answers
    stuck_timer_.cancel();
    socket_.close(ignored);
}

void RelayClient::push(SharedFrame const& frame) {
    queue_.push(frame, ClientQueue::Clock::now());
}

ClientCounters RelayClient::counters() const {
    ClientCounters counters;
    counters.id = id_;
    counters.frames = queue_.frames_pushed();
    counters.frames_sent = queue_.frames_sent();
    counters.frames_dropped = queue_.frames_dropped();
    counters.bytes_sent = queue_.bytes_sent();
    counters.queued = queue_.size();
    return counters;
}

bool RelayClient::is_idle() const {
    return queue_.empty();
}

}  // namespace Kit
