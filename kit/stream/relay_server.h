#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "kit/base/file_descriptor.h"
#include "kit/stream/listening_socket.h"
#include "kit/stream/relay.h"
#include "kit/stream/relay_client.h"
#include "kit/stream/relay_source.h"

namespace Kit {

/**
 * What stands behind a Relay, which says what each operation does: the thread, the lock, and what
 * happens when clients come and go. Private members run on the relay's thread.
 */
class RelayServer final : private RelayClient::Owner, private RelaySource::Owner {
public:
    explicit RelayServer(RelayOptions relay_options);
    ~RelayServer();
    RelayServer(RelayServer const&) = delete;
    RelayServer& operator=(RelayServer const&) = delete;

    void publish(std::string stream_frame);
    void relay_from(int fd);
    RelayCounters counters() const;
    void stop(std::chrono::milliseconds grace);

private:
    void client_is_idle() override;
    void client_left(uint64_t id, RelayClient::Departure departure) override;
    void source_frame(std::string stream_frame) override;
    void source_pause() override;
    void source_fault(std::string const& reason) override;
    void source_ended(RelaySource& source) override;

    void listen();
    void look_after_socket();
    void wait_for_clients();
    void accept_clients();
    bool is_full() const;
    void accept_again_later(std::string const& reason);
    void add_client(FileDescriptor connection);
    void flush_clients();
    std::vector<std::shared_ptr<RelayClient>> clients_now() const;
    void begin_stop(std::chrono::milliseconds grace);
    void finish();

    /** Queues a frame for every client. The caller holds the lock. */
    void queue_frame(std::string stream_frame);

    const RelayOptions options_;
    mutable std::mutex lock_;  // of the five members that follow, and of the clients' queues
    RelayCounters totals_;
    std::map<uint64_t, std::shared_ptr<RelayClient>> clients_;
    bool flush_is_posted_ = false;
    bool stopped_ = false;

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_{context_.get_executor()};
    std::optional<ListeningSocket> socket_;
    asio::posix::stream_descriptor acceptor_{context_};  // a duplicate of the socket's descriptor
    asio::steady_timer accept_timer_{context_};
    asio::steady_timer look_after_timer_{context_};
    asio::steady_timer grace_timer_{context_};
    std::vector<std::shared_ptr<RelaySource>> sources_;
    // Queued by sources since clients were flushed.
    size_t unflushed_frames_ = 0;
    size_t unflushed_bytes_ = 0;
    bool accept_fails_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace Kit
