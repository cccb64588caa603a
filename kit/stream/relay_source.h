#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "kit/stream/parser.h"

namespace Kit {

/**
 * A stream of frames that a relay reads from a descriptor. Owns a duplicate of the descriptor.
 * Used on the relay's thread only; lives until the last handler that it has started ran, so it is
 * held by shared pointers. After close() nothing more happens.
 */
class RelaySource : public std::enable_shared_from_this<RelaySource> {
public:
    /** Is notified on the relay's thread. */
    class Owner {
    public:
        virtual void source_frame(std::string stream_frame) = 0;
        /** source_frame() was called for all frames that have arrived so far. */
        virtual void source_pause() = 0;
        /** The stream is damaged; no more of its frames are published. */
        virtual void source_fault(std::string const& reason) = 0;
        virtual void source_ended(RelaySource& source) = 0;

    protected:
        ~Owner() = default;
    };

    /**
     * Duplicates `fd`, which stays the caller's. `owner` outlives this object.
     *
     * @throws Error "Failed to relay from descriptor <fd>", with the system's reason.
     */
    RelaySource(boost::asio::io_context& context, int fd, Owner& owner);
    ~RelaySource();

    /** Starts reading. */
    void start();

    /** Publishes what can be read at this moment, then reads no more. */
    void finish();

    /** Reads no more and restores the descriptor's blocking mode; logs when that fails. */
    void close();

private:
    void read_more();
    /** Publishes the frames in the first `size` bytes of the piece. */
    void parse_piece(size_t size);
    void end(boost::system::error_code const& error);

    Owner& owner_;
    int callers_fd_;
    int mode_ = 0;  // of the descriptor before it was relayed
    boost::asio::posix::stream_descriptor descriptor_;
    StreamParser parser_;
    bool at_fault_ = false;
    std::array<char, 16384> piece_;
};

}  // namespace Kit
