#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "kit/base/file_descriptor.h"
#include "kit/stream/client_counters.h"
#include "kit/stream/client_queue.h"
#include "kit/stream/relay_options.h"

namespace Kit {

/**
 * One client of a relay: writes the queued frames whenever the socket accepts them, reads and
 * discards what the client sends, and detects that it has left or is stuck.
 *
 * Owns the client's descriptor. Everything runs on the relay's thread, but push(), counters() and
 * is_idle(), which any thread may call while it holds the relay's lock. Lives until the last
 * handler that it has started ran, so it is held by shared pointers; after close() nothing more
 * happens.
 */
class RelayClient : public std::enable_shared_from_this<RelayClient> {
public:
    enum class Departure { kGone, kStuck };

    /** Is notified on the relay's thread, which does not hold the lock. */
    class Owner {
    public:
        /** Everything that was queued for the client was sent. */
        virtual void client_is_idle() = 0;
        /** The client has closed its end or is stuck, and was disconnected; not called after
         * close(). */
        virtual void client_left(uint64_t id, Departure departure) = 0;

    protected:
        ~Owner() = default;
    };

    /** The owner and its lock outlive this object. */
    RelayClient(boost::asio::io_context& context, std::mutex& lock, RelayOptions const& options,
                uint64_t id, Owner& owner);

    /**
     * Owns the connected socket from now on and begins to read from it. Returns the system's reason
     * when it cannot be watched or made non-blocking; then the client is closed.
     */
    [[nodiscard]] boost::system::error_code start(FileDescriptor connection);

    /** Writes the queued frames as far as the socket accepts them now; the rest follows by itself.
     */
    void flush();

    /** Disconnects the client. */
    void close();

    /** Queues a frame. The caller holds the lock. */
    void push(SharedFrame const& frame);

    /** The counters, and whether the queue is empty. The caller holds the lock. */
    ClientCounters counters() const;
    bool is_idle() const;

private:
    enum class Written { kQueue, kTurn, kPart, kFailed };

    Written write_turn();
    void wait_until_writable();
    void watch_for_stuck();
    void on_stuck_timer();
    bool is_stuck();
    void discard_input();
    void watch_for_hang_up();
    void depart(Departure departure);

    boost::asio::io_context& context_;
    std::mutex& lock_;
    std::chrono::milliseconds stuck_after_;
    uint64_t id_;
    Owner& owner_;
    boost::asio::local::stream_protocol::socket socket_;
    boost::asio::steady_timer stuck_timer_;
    bool waits_until_writable_ = false;
    bool watches_for_stuck_ = false;
    ClientQueue queue_;  // under the lock
};

}  // namespace Kit
