#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "kit/base/file_descriptor.h"
#include "kit/stream/client_queue.h"
#include "kit/stream/relay.h"

namespace Kit {

/**
 * One client of a relay: writes what is queued whenever the client takes it, reads and discards
 * what the client sends, and notices when it has gone or is stuck.
 *
 * Owns the client's descriptor. Everything runs on the relay's thread, but push() and counters(),
 * which any thread may call while it holds the relay's lock. Lives until the last handler that it
 * has started ran, so it is held by shared pointers; after close() nothing more happens.
 */
class RelayClient : public std::enable_shared_from_this<RelayClient> {
public:
    enum class Departure { kGone, kStuck };

    /** Hears of its clients on the relay's thread, without the lock. */
    class Owner {
    public:
        /** The client has got everything that was queued for it. */
        virtual void client_is_idle() = 0;
        /** The client has closed its end or was found stuck, and is closed; not after close(). */
        virtual void client_left(uint64_t id, Departure departure) = 0;

    protected:
        ~Owner() = default;
    };

    /** The owner and its lock outlive this object. */
    RelayClient(asio::io_context& context, std::mutex& lock, RelayOptions const& options,
                uint64_t id, Owner& owner);

    /**
     * Takes over the connected, non-blocking socket and begins to read from it. Returns false and
     * closes it when the system cannot watch it, with errno set.
     */
    [[nodiscard]] bool start(FileDescriptor connection);

    /** Writes what is queued, as far as the client takes it now; the rest follows by itself. */
    void flush();

    /** Disconnects the client. */
    void close();

    /** Queues a frame. The caller holds the lock. */
    void push(SharedFrame const& frame);

    /** What is counted, and whether anything is queued. The caller holds the lock. */
    ClientCounters counters() const;
    bool is_idle() const;

private:
    enum class Written { kEverything, kTurn, kPart, kFailed };

    Written write_turn();
    void wait_until_writable();
    void watch_for_stuck();
    void on_stuck_timer();
    bool is_stuck();
    void discard_input();
    void watch_for_hang_up();
    void depart(Departure departure);

    asio::io_context& context_;
    std::mutex& lock_;
    std::chrono::milliseconds stuck_after_;
    uint64_t id_;
    Owner& owner_;
    asio::local::stream_protocol::socket socket_;
    asio::steady_timer stuck_timer_;
    bool waits_until_writable_ = false;
    bool watches_for_stuck_ = false;
    ClientQueue queue_;  // under the lock
};

}  // namespace Kit
