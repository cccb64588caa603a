#include "kit/stream/relay_source.h"

#include <fcntl.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <cerrno>
#include <optional>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/base/file_descriptor.h"
#include "log/ilog.h"

namespace Kit {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/** More than a socket holds: the last reading ends although the writer goes on. */
constexpr size_t kPiecesAtTheEnd = 256;

[[noreturn]] void refuse(int fd, int error) {
    throw Error("Failed to relay from descriptor " + std::to_string(fd) + ": " + errno_text(error));
}

}  // namespace

RelaySource::RelaySource(asio::io_context& context, int fd, Owner& owner)
    : owner_(owner), callers_fd_(fd), descriptor_(context) {
    FileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!copy.valid()) refuse(fd, errno);
    mode_ = fcntl(copy.get(), F_GETFL);
    if (mode_ < 0) refuse(fd, errno);
    error_code error;
    descriptor_.assign(copy.get(), error);
    if (error) refuse(fd, error.value());
    static_cast<void>(copy.release());  // descriptor_'s now
}

RelaySource::~RelaySource() {
    close();
}

void RelaySource::start() {
    error_code error;
    descriptor_.non_blocking(true, error);
    if (error) return end(error);
    read_more();
}

void RelaySource::finish() {
    for (size_t i = 0; i < kPiecesAtTheEnd && descriptor_.is_open(); ++i) {
        error_code error;
        const size_t size = descriptor_.read_some(asio::buffer(piece_), error);
        if (error == asio::error::would_block) break;
        if (error) return end(error);
        parse_piece(size);
    }
    close();
}

void RelaySource::close() {
    if (!descriptor_.is_open()) return;
    error_code ignored;  // cancel() fails on a closed descriptor only, and close() closes anyway
    descriptor_.cancel(ignored);
    if (fcntl(descriptor_.native_handle(), F_SETFL, mode_) != 0) {
        Petrel::ilog(1) << "Failed to restore the blocking mode of descriptor " << callers_fd_
                        << ": " << errno_text(errno) << std::endl;
    }
    descriptor_.close(ignored);
}

void RelaySource::read_more() {
    descriptor_.async_read_some(asio::buffer(piece_),
                                [self = shared_from_this()](error_code const& error, size_t size) {
                                    if (!self->descriptor_.is_open()) return;
                                    if (error) return self->end(error);
                                    self->parse_piece(size);
                                    self->read_more();
                                });
}

void RelaySource::parse_piece(size_t size) {
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

void RelaySource::end(error_code const& error) {
    if (error != asio::error::eof) {
        owner_.source_fault(errno_text(error.value()));
    } else if (!at_fault_ && parser_.pending() > 0) {
        owner_.source_fault("ended " + std::to_string(parser_.pending()) + " bytes into a frame");
    }
    close();
    owner_.source_ended(*this);
}

}  // namespace Kit
