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

RelaySource::RelaySource(asio::io_context& context, FileDescriptor stream, Owner& owner)
    : owner_(owner), descriptor_(context, stream.get()), mode_(fcntl(stream.get(), F_GETFL)) {
    static_cast<void>(stream.release());  // the descriptor's now
}

RelaySource::~RelaySource() {
    close();
}

void RelaySource::start() {
    std::error_code error;
    descriptor_.non_blocking(true, error);
    if (error) return end(error);
    read_more();
}

void RelaySource::finish() {
    for (size_t i = 0; i < kPiecesAtTheEnd && descriptor_.is_open(); ++i) {
        std::error_code error;
        const size_t size = descriptor_.read_some(asio::buffer(piece_), error);
        if (error == asio::error::would_block) break;
        if (error) return end(error);
        use_piece(size);
    }
    close();
}

void RelaySource::close() {
    if (!descriptor_.is_open()) return;
    std::error_code ignored;  // nothing is left to do for a descriptor that cannot be closed
    descriptor_.cancel(ignored);
    fcntl(descriptor_.native_handle(), F_SETFL, mode_);
    descriptor_.close(ignored);
}

void RelaySource::read_more() {
    descriptor_.async_read_some(
        asio::buffer(piece_),
        [self = shared_from_this()](std::error_code const& error, size_t size) {
            if (!self->descriptor_.is_open()) return;
            if (error) return self->end(error);
            self->use_piece(size);
            self->read_more();
        });
}

void RelaySource::use_piece(size_t size) {
    if (at_fault_) return;
    parser_.append({piece_.data(), size});
    while (std::optional<std::string> frame = parser_.next())
        owner_.source_frame(std::move(*frame));
    if (parser_.fault()) {
        at_fault_ = true;
        owner_.source_fault("at byte " + std::to_string(parser_.fault()->offset) + ": " +
                            parser_.fault()->reason);
    }
    owner_.source_pause();
}

void RelaySource::end(std::error_code const& error) {
    if (error != asio::error::eof) {
        owner_.source_fault(error.message());
    } else if (!at_fault_ && parser_.pending() > 0) {
        owner_.source_fault("ended " + std::to_string(parser_.pending()) + " bytes into a frame");
    }
    close();
    owner_.source_ended(*this);
}

}  // namespace Kit
