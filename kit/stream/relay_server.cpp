#include "kit/stream/relay_server.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <asio/post.hpp>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/base/signals_blocked.h"
#include "kit/stream/format.h"
#include "log/ilog.h"

namespace Kit {

namespace {

/** Clients that are accepted before the others have their turn. */
constexpr int kAcceptsATurn = 16;

/** How long a client that cannot be accepted for want of a descriptor waits for the next attempt.
 */
constexpr std::chrono::milliseconds kAcceptAgainAfter{50};

FileDescriptor duplicate(int fd, std::string const& purpose) {
    FileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (copy.valid()) return copy;
    throw Error(purpose + ": " + errno_text(errno));
}

}  // namespace

RelayServer::RelayServer(RelayOptions relay_options)
    : options_(std::move(relay_options)), socket_(options_.socket_path) {
    listen();
    look_after_socket();
    const SignalsBlocked signals_blocked;
    thread_ = std::thread([this] { context_.run(); });
}

RelayServer::~RelayServer() {
    stop(std::chrono::milliseconds(0));
}

void RelayServer::publish(std::string stream_frame) {
    if (!is_stream_frame(stream_frame)) {
        throw std::invalid_argument("relay: not a whole stream frame");
    }
    {
        const std::lock_guard<std::mutex> guard(lock_);
        if (stopped_) return;
        queue_frame(std::move(stream_frame));
        if (std::exchange(flush_is_posted_, true)) return;
    }
    asio::post(context_, [this] {
        {
            const std::lock_guard<std::mutex> guard(lock_);
            flush_is_posted_ = false;
        }
        flush_clients();
    });
}

void RelayServer::queue_frame(std::string stream_frame) {
    ++totals_.frames;
    totals_.bytes += stream_frame.size();
    const auto frame = std::make_shared<std::string const>(std::move(stream_frame));
    for (auto const& client : clients_) client.second->push(frame);
}

void RelayServer::relay_from(int fd) {
    auto source = std::make_shared<RelaySource>(
        context_, duplicate(fd, "Failed to relay from descriptor " + std::to_string(fd)),
        static_cast<RelaySource::Owner&>(*this));
    asio::post(context_, [this, source = std::move(source)] {
        if (stopping_) return;
        sources_.push_back(source);
        source->start();
    });
}

RelayCounters RelayServer::counters() const {
    const std::lock_guard<std::mutex> guard(lock_);
    RelayCounters now = totals_;
    for (auto const& client : clients_) {
        now.clients.push_back(client.second->counters());
        now.frames_dropped += now.clients.back().frames_dropped;
    }
    return now;
}

void RelayServer::stop(std::chrono::milliseconds grace) {
    {
        const std::lock_guard<std::mutex> guard(lock_);
        if (std::exchange(stopped_, true)) return;
    }
    asio::post(context_, [this, grace] { begin_stop(grace); });
    thread_.join();
}

void RelayServer::listen() {
    acceptor_.assign(duplicate(socket_->fd(), options_.socket_path + ": cannot listen").release());
    wait_for_clients();
}

void RelayServer::look_after_socket() {
    if (options_.look_after_every.count() <= 0) return;
    look_after_timer_.expires_after(options_.look_after_every);
    look_after_timer_.async_wait([this](std::error_code const& error) {
        if (error || stopping_) return;
        if (socket_->look_after()) {
            accept_timer_.cancel();
            acceptor_.close();
        }
        try {
            if (!acceptor_.is_open()) listen();
        } catch (Error const& failure) {
            accept_again_later(failure.what());  // to be listened to at the next look
        }
        look_after_socket();
    });
}

void RelayServer::wait_for_clients() {
    acceptor_.async_wait(asio::posix::stream_descriptor::wait_read,
                         [this](std::error_code const& error) {
                             if (!error) accept_clients();
                         });
}

void RelayServer::accept_clients() {
    if (stopping_) return;
    if (is_full()) return accept_again_later("as many as there may be are connected");
    for (int i = 0; i < kAcceptsATurn && !is_full(); ++i) {
        FileDescriptor client(
            accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (client.valid()) {
            accept_fails_ = false;
            add_client(std::move(client));
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return accept_again_later(errno_text(errno));
        }
    }
    wait_for_clients();
}

bool RelayServer::is_full() const {
    const std::lock_guard<std::mutex> guard(lock_);
    return clients_.size() >= std::max<size_t>(options_.most_clients, 1);
}

// The client stays in the backlog, where it would wake a plain wait at once and for ever.
void RelayServer::accept_again_later(std::string const& reason) {
    if (!std::exchange(accept_fails_, true)) {
        Petrel::ilog(1) << options_.socket_path << ": cannot accept a client: " << reason
                        << "; trying again" << std::endl;
    }
    accept_timer_.expires_after(kAcceptAgainAfter);
    accept_timer_.async_wait([this](std::error_code const& error) {
        if (!error) wait_for_clients();
    });
}

void RelayServer::add_client(FileDescriptor connection) {
    const uint64_t id = totals_.clients_accepted + 1;  // only this thread changes it
    auto client = std::make_shared<RelayClient>(context_, lock_, options_, id,
                                                static_cast<RelayClient::Owner&>(*this));
    if (!client->start(std::move(connection))) {
        Petrel::ilog(1) << options_.socket_path << ": cannot serve a client: " << errno_text(errno)
                        << std::endl;
        return;
    }
    const std::lock_guard<std::mutex> guard(lock_);
    totals_.clients_accepted = id;
    clients_.emplace(id, std::move(client));
}

std::vector<std::shared_ptr<RelayClient>> RelayServer::clients_now() const {
    std::vector<std::shared_ptr<RelayClient>> now;
    const std::lock_guard<std::mutex> guard(lock_);
    now.reserve(clients_.size());
    for (auto const& client : clients_) now.push_back(client.second);
    return now;
}

void RelayServer::flush_clients() {
    unflushed_frames_ = 0;
    unflushed_bytes_ = 0;
    for (auto const& client : clients_now()) client->flush();
}

void RelayServer::client_is_idle() {
    if (!stopping_) return;
    const auto now = clients_now();
    const std::lock_guard<std::mutex> guard(lock_);
    if (std::all_of(now.begin(), now.end(), [](auto const& client) { return client->is_idle(); })) {
        asio::post(context_, [this] { finish(); });
    }
}

void RelayServer::client_left(uint64_t id, RelayClient::Departure departure) {
    const bool stuck = departure == RelayClient::Departure::kStuck;
    if (stuck) {
        Petrel::ilog(1) << options_.socket_path << ": client " << id << " took no frame for "
                        << options_.stuck_after.count() << " ms and was dropped" << std::endl;
    }
    {
        const std::lock_guard<std::mutex> guard(lock_);
        const auto found = clients_.find(id);
        if (found == clients_.end()) return;
        totals_.frames_dropped += found->second->counters().frames_dropped;
        totals_.clients_dropped_stuck += stuck ? 1 : 0;
        clients_.erase(found);
    }
    client_is_idle();
}

// Clients are written to before a piece that holds many frames could fill a queue.
void RelayServer::source_frame(std::string stream_frame) {
    ++unflushed_frames_;
    unflushed_bytes_ += stream_frame.size();
    {
        const std::lock_guard<std::mutex> guard(lock_);
        queue_frame(std::move(stream_frame));
    }
    if (unflushed_frames_ >= std::max<size_t>(options_.queue_frames / 2, 1) ||
        unflushed_bytes_ >= options_.queue_bytes / 2) {
        flush_clients();
    }
}

void RelayServer::source_pause() {
    if (unflushed_frames_ > 0) flush_clients();
}

void RelayServer::source_fault(std::string const& reason) {
    Petrel::ilog(2) << options_.socket_path << ": the stream to relay is damaged: " << reason
                    << std::endl;
    const std::lock_guard<std::mutex> guard(lock_);
    totals_.source_fault = reason;
}

void RelayServer::source_ended(RelaySource& source) {
    sources_.erase(std::remove_if(sources_.begin(), sources_.end(),
                                  [&](auto const& held) { return held.get() == &source; }),
                   sources_.end());
}

void RelayServer::begin_stop(std::chrono::milliseconds grace) {
    stopping_ = true;
    accept_timer_.cancel();
    look_after_timer_.cancel();
    acceptor_.close();
    socket_.reset();
    for (auto const& source : std::exchange(sources_, {})) source->finish();
    flush_clients();
    if (grace.count() <= 0) return finish();
    grace_timer_.expires_after(grace);
    grace_timer_.async_wait([this](std::error_code const&) { finish(); });
    client_is_idle();
}

void RelayServer::finish() {
    uint64_t undelivered = 0;
    for (auto const& client : clients_now()) client->close();
    {
        const std::lock_guard<std::mutex> guard(lock_);
        for (auto const& client : std::exchange(clients_, {})) {
            const ClientCounters counters = client.second->counters();
            undelivered += counters.queued;
            totals_.frames_dropped += counters.frames_dropped + counters.queued;
        }
    }
    if (undelivered > 0) {
        Petrel::ilog(1) << options_.socket_path << ": " << undelivered
                        << " frames were not delivered before the end" << std::endl;
    }
    context_.stop();
}

}  // namespace Kit
