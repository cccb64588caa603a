#include "kit/stream/relay_source.h"

#include <fcntl.h>

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <optional>
#include <utility>

namespace Kit {

namespace {

/** More than a socket holds: reading what is there ends although its writer goes on. */
constexpr size_t kPiecesAtTheEnd = 256;

}  // namespace

RelaySource::RelaySource(asio::io_context& context, FileDescriptor stream, Owner& owner_)
    : owner(owner_), descriptor(context, stream.get()), mode(fcntl(stream.get(), F_GETFL)) {
    static_cast<void>(stream.release());  // the descriptor's now
}

RelaySource::~RelaySource() {
    close();
}

void RelaySource::start() {
    std::error_code error;
    descriptor.non_blocking(true, error);
    if (error) return end(error);
    read_more();
}

void RelaySource::finish() {
    for (size_t i = 0; i < kPiecesAtTheEnd && descriptor.is_open(); ++i) {
        std::error_code error;
        const size_t size = descriptor.read_some(asio::buffer(piece), error);
        if (error == asio::error::would_block) break;
        if (error) return end(error);
        use_piece(size);
    }
    close();
}

void RelaySource::close() {
    if (!descriptor.is_open()) return;
    std::error_code ignored;  // nothing is left to do for a descriptor that cannot be closed
    descriptor.cancel(ignored);
    fcntl(descriptor.native_handle(), F_SETFL, mode);
    descriptor.close(ignored);
}

void RelaySource::read_more() {
    descriptor.async_read_some(asio::buffer(piece), [self = shared_from_this()](
                                                        std::error_code const& error, size_t size) {
        if (!self->descriptor.is_open()) return;
        if (error) return self->end(error);
        self->use_piece(size);
        self->read_more();
    });
}

void RelaySource::use_piece(size_t size) {
    if (at_fault) return;
    parser.append({piece.data(), size});
    while (std::optional<std::string> frame = parser.next()) owner.source_frame(std::move(*frame));
    if (parser.fault()) {
        at_fault = true;
        owner.source_fault("at byte " + std::to_string(parser.fault()->offset) + ": " +
                           parser.fault()->reason);
    }
    owner.source_pause();
}

void RelaySource::end(std::error_code const& error) {
    if (error != asio::error::eof) {
        owner.source_fault(error.message());
    } else if (!at_fault && parser.pending() > 0) {
        owner.source_fault("ended " + std::to_string(parser.pending()) + " bytes into a frame");
    }
    close();
    owner.source_ended(*this);
}

}  // namespace Kit
