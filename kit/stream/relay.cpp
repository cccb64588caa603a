#include "kit/stream/relay.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/base/file_descriptor.h"
#include "kit/base/signals_blocked.h"
#include "kit/stream/format.h"
#include "kit/stream/listening_socket.h"
#include "kit/stream/relay_client.h"
#include "kit/stream/relay_source.h"
#include "log/ilog.h"

namespace Kit {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/** Clients that are accepted before the others have their turn. */
constexpr int kAcceptsATurn = 16;

/** The pause before the next attempt to accept a client that could not be accepted. */
constexpr std::chrono::milliseconds kAcceptAgainAfter{50};

}  // namespace

/**
 * The state of a relay, and what its thread does. The operations of Relay use it from other
 * threads: the members under the lock and, to post work, the context. All functions but the
 * constructor and queue_frame() run on the relay's thread, to which the other members belong.
 */
class Relay::Impl final : private RelayClient::Owner, private RelaySource::Owner {
    friend class Relay;

public:
    explicit Impl(RelayOptions relay_options);

private:
    void client_is_idle() override;
    void client_left(uint64_t id, RelayClient::Departure departure) override;
    void source_frame(std::string stream_frame) override;
    void source_pause() override;
    void source_fault(std::string const& reason) override;
    void source_ended(RelaySource& source) override;

    /** Waits for clients at the socket. Returns an `errno` value, 0 for success. */
    [[nodiscard]] int listen();
    void check_socket_later();
    void check_socket();
    void wait_for_clients();
    void accept_clients();
    bool is_full() const;
    size_t most_clients() const;
    void accept_again_later(std::string const& reason);
    void add_client(FileDescriptor connection);
    void flush_clients();
    std::vector<std::shared_ptr<RelayClient>> clients_now() const;
    void close_acceptor();
    void begin_stop(std::chrono::milliseconds grace);
    void add_departed(ClientCounters const& counters);
    void finish();

    /** Queues a frame for every client. The caller holds the lock. */
    void queue_frame(std::string stream_frame);

    const RelayOptions options_;
    mutable std::mutex lock_;  // of the four members that follow, and of the clients' queues
    RelayCounters totals_;
    std::map<uint64_t, std::shared_ptr<RelayClient>> clients_;
    bool flush_is_posted_ = false;
    bool stopped_ = false;

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_{context_.get_executor()};
    std::optional<ListeningSocket> socket_;
    asio::posix::stream_descriptor acceptor_{context_};  // a duplicate of the socket's descriptor
    asio::steady_timer accept_timer_{context_};
    asio::steady_timer check_timer_{context_};
    asio::steady_timer grace_timer_{context_};
    std::vector<std::shared_ptr<RelaySource>> sources_;
    // Queued by sources since clients were flushed.
    size_t unflushed_frames_ = 0;
    size_t unflushed_bytes_ = 0;
    bool accept_fails_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

Relay::Relay(RelayOptions options) {
    const std::string path = options.socket_path;
    const auto failure = [&path](int error) {
        return Error(path + ": cannot be served: " + errno_text(error));
    };
    try {
        impl_ = std::make_unique<Impl>(std::move(options));
    } catch (std::system_error const& error) {
        throw failure(error.code().value());
    } catch (boost::system::system_error const& error) {  // which is no std::system_error
        throw failure(error.code().value());
    }
}

Relay::~Relay() {
    stop(std::chrono::milliseconds(0));
}

void Relay::publish(std::string stream_frame) {
    if (!is_stream_frame(stream_frame)) {
        throw std::invalid_argument("relay: not a whole stream frame");
    }
    {
        const std::lock_guard<std::mutex> guard(impl_->lock_);
        if (impl_->stopped_) return;
        impl_->queue_frame(std::move(stream_frame));
        if (std::exchange(impl_->flush_is_posted_, true)) return;
    }
    asio::post(impl_->context_, [impl = impl_.get()] {
        {
            const std::lock_guard<std::mutex> guard(impl->lock_);
            impl->flush_is_posted_ = false;
        }
        impl->flush_clients();
    });
}

void Relay::relay_from(int fd) {
    RelaySource::Owner& owner = *impl_;
    auto source = std::make_shared<RelaySource>(impl_->context_, fd, owner);
    asio::post(impl_->context_, [impl = impl_.get(), source = std::move(source)] {
        if (impl->stopping_) return;
        impl->sources_.push_back(source);
        source->start();
    });
}

RelayCounters Relay::counters() const {
    const std::lock_guard<std::mutex> guard(impl_->lock_);
    RelayCounters now = impl_->totals_;
    for (auto const& client : impl_->clients_) {
        now.clients.push_back(client.second->counters());
        ClientCounters const& counters = now.clients.back();
        now.frames_offered += counters.frames;
        now.frames_sent += counters.frames_sent;
        now.frames_dropped += counters.frames_dropped;
    }
    return now;
}

void Relay::stop(std::chrono::milliseconds grace) {
    {
        const std::lock_guard<std::mutex> guard(impl_->lock_);
        if (std::exchange(impl_->stopped_, true)) return;
    }
    asio::post(impl_->context_, [impl = impl_.get(), grace] { impl->begin_stop(grace); });
    impl_->thread_.join();
}

Relay::Impl::Impl(RelayOptions relay_options)
    : options_(std::move(relay_options)), socket_(options_.socket_path) {
    if (const int error = listen()) {
        throw Error(options_.socket_path + ": cannot listen: " + errno_text(error));
    }
    check_socket_later();
    const SignalsBlocked signals_blocked;
    thread_ = std::thread([this] { context_.run(); });
}

void Relay::Impl::queue_frame(std::string stream_frame) {
    ++totals_.frames;
    totals_.bytes += stream_frame.size();
    const auto frame = std::make_shared<std::string const>(std::move(stream_frame));
    for (auto const& client : clients_) client.second->push(frame);
}

int Relay::Impl::listen() {
    FileDescriptor copy(fcntl(socket_->fd(), F_DUPFD_CLOEXEC, 0));
    if (!copy.valid()) return errno;
    error_code error;
    acceptor_.assign(copy.get(), error);
    if (error) return error.value();
    static_cast<void>(copy.release());  // the acceptor's now
    wait_for_clients();
    return 0;
}

void Relay::Impl::check_socket_later() {
    if (options_.check_socket_every.count() <= 0) return;
    check_timer_.expires_after(options_.check_socket_every);
    check_timer_.async_wait([this](error_code const& error) {
        if (error || stopping_) return;
        check_socket();
        check_socket_later();
    });
}

void Relay::Impl::check_socket() {
    if (socket_->restore()) {
        accept_timer_.cancel();
        close_acceptor();
    }
    if (acceptor_.is_open()) return;
    if (const int error = listen())
        accept_again_later(errno_text(error));  // the next check listens
}

void Relay::Impl::wait_for_clients() {
    acceptor_.async_wait(asio::posix::stream_descriptor::wait_read,
                         [this](error_code const& error) {
                             if (!error) accept_clients();
                         });
}

void Relay::Impl::accept_clients() {
    if (stopping_) return;
    if (is_full())
        return accept_again_later("the limit of " + std::to_string(most_clients()) +
                                  " clients is reached");
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

bool Relay::Impl::is_full() const {
    const std::lock_guard<std::mutex> guard(lock_);
    return clients_.size() >= most_clients();
}

size_t Relay::Impl::most_clients() const {
    return std::max<size_t>(options_.most_clients, 1);
}

// The client stays in the backlog, where it would wake a plain wait at once and for ever.
void Relay::Impl::accept_again_later(std::string const& reason) {
    if (!std::exchange(accept_fails_, true)) {
        Petrel::ilog(1) << options_.socket_path << ": cannot accept a client: " << reason
                        << "; trying again" << std::endl;
    }
    accept_timer_.expires_after(kAcceptAgainAfter);
    accept_timer_.async_wait([this](error_code const& error) {
        if (!error) wait_for_clients();
    });
}

void Relay::Impl::add_client(FileDescriptor connection) {
    const uint64_t id = totals_.clients_accepted + 1;  // only this thread changes it
    auto client = std::make_shared<RelayClient>(context_, lock_, options_, id,
                                                static_cast<RelayClient::Owner&>(*this));
    if (const error_code error = client->start(std::move(connection))) {
        Petrel::ilog(1) << options_.socket_path
                        << ": cannot serve a client: " << errno_text(error.value()) << std::endl;
        return;
    }
    const std::lock_guard<std::mutex> guard(lock_);
    totals_.clients_accepted = id;
    clients_.emplace(id, std::move(client));
}

std::vector<std::shared_ptr<RelayClient>> Relay::Impl::clients_now() const {
    std::vector<std::shared_ptr<RelayClient>> now;
    const std::lock_guard<std::mutex> guard(lock_);
    now.reserve(clients_.size());
    for (auto const& client : clients_) now.push_back(client.second);
    return now;
}

void Relay::Impl::flush_clients() {
    unflushed_frames_ = 0;
    unflushed_bytes_ = 0;
    for (auto const& client : clients_now()) client->flush();
}

void Relay::Impl::client_is_idle() {
    if (!stopping_) return;
    const auto now = clients_now();
    const std::lock_guard<std::mutex> guard(lock_);
    if (std::all_of(now.begin(), now.end(), [](auto const& client) { return client->is_idle(); })) {
        asio::post(context_, [this] { finish(); });
    }
}

/** What was queued for a client that has left is dropped with it. The caller holds the lock. */
void Relay::Impl::add_departed(ClientCounters const& counters) {
    totals_.frames_offered += counters.frames;
    totals_.frames_sent += counters.frames_sent;
    totals_.frames_dropped += counters.frames_dropped + counters.queued;
}

void Relay::Impl::client_left(uint64_t id, RelayClient::Departure departure) {
    const bool stuck = departure == RelayClient::Departure::kStuck;
    if (stuck) {
        Petrel::ilog(1) << options_.socket_path << ": client " << id << " received no frame for "
                        << options_.stuck_after.count() << " ms; disconnected" << std::endl;
    }
    {
        const std::lock_guard<std::mutex> guard(lock_);
        const auto found = clients_.find(id);
        if (found == clients_.end()) return;
        add_departed(found->second->counters());
        totals_.clients_dropped_stuck += stuck ? 1 : 0;
        clients_.erase(found);
    }
    client_is_idle();
}

// Clients are written to before a piece that holds many frames could fill a queue.
void Relay::Impl::source_frame(std::string stream_frame) {
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

void Relay::Impl::source_pause() {
    if (unflushed_frames_ > 0) flush_clients();
}

void Relay::Impl::source_fault(std::string const& reason) {
    Petrel::ilog(2) << options_.socket_path << ": the stream to relay is damaged: " << reason
                    << std::endl;
    const std::lock_guard<std::mutex> guard(lock_);
    totals_.source_fault = reason;
}

void Relay::Impl::source_ended(RelaySource& source) {
    sources_.erase(std::remove_if(sources_.begin(), sources_.end(),
                                  [&](auto const& held) { return held.get() == &source; }),
                   sources_.end());
}

void Relay::Impl::close_acceptor() {
    error_code ignored;  // the descriptor is gone whatever close answers
    acceptor_.close(ignored);
}

void Relay::Impl::begin_stop(std::chrono::milliseconds grace) {
    stopping_ = true;
    accept_timer_.cancel();
    check_timer_.cancel();
    close_acceptor();
    socket_.reset();
    for (auto const& source : std::exchange(sources_, {})) source->finish();
    flush_clients();
    if (grace.count() <= 0) return finish();
    grace_timer_.expires_after(grace);
    grace_timer_.async_wait([this](error_code const&) { finish(); });
    client_is_idle();
}

void Relay::Impl::finish() {
    uint64_t undelivered = 0;
    for (auto const& client : clients_now()) client->close();
    {
        const std::lock_guard<std::mutex> guard(lock_);
        for (auto const& client : std::exchange(clients_, {})) {
            const ClientCounters counters = client.second->counters();
            undelivered += counters.queued;
            add_departed(counters);
        }
    }
    if (undelivered > 0) {
        Petrel::ilog(1) << options_.socket_path << ": " << undelivered
                        << " frames were not delivered before the end" << std::endl;
    }
    context_.stop();
}

}  // namespace Kit
