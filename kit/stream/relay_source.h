#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

#include "kit/base/file_descriptor.h"
#include "kit/stream/parser.h"

namespace Kit {

/**
 * A stream of frames that a relay reads from a descriptor. Owns its duplicate of the descriptor.
 * Used on the relay's thread only; lives until the last handler that it has started ran, so it is
 * held by shared pointers. After close() nothing more happens.
 */
class RelaySource : public std::enable_shared_from_this<RelaySource> {
public:
    /** Hears of its sources, on the relay's thread. */
    class Owner {
    public:
        virtual void source_frame(std::string stream_frame) = 0;
        /** All frames that were there have been passed on for now. */
        virtual void source_pause() = 0;
        /** The stream is at fault; nothing more of it is passed on. */
        virtual void source_fault(std::string const& reason) = 0;
        virtual void source_ended(RelaySource& source) = 0;

    protected:
        ~Owner() = default;
    };

    /** Takes over `stream`; `owner` outlives this object. */
    RelaySource(asio::io_context& context, FileDescriptor stream, Owner& owner);
    ~RelaySource();

    /** Begins to read. */
    void start();

    /** Passes on what can be read at this moment, then reads no more. */
    void finish();

    /** Reads no more, and leaves the descriptor in the mode in which it was. */
    void close();

private:
    void read_more();
    /** Passes on the frames among the first `size` bytes of `piece`. */
    void use_piece(size_t size);
    void end(std::error_code const& error);

    Owner& owner_;
    asio::posix::stream_descriptor descriptor_;
    int mode_ = 0;  // of the descriptor before it was relayed
    StreamParser parser_;
    bool at_fault_ = false;
    std::array<char, 16384> piece_;
};

}  // namespace Kit
