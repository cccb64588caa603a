#include "service/status_server.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <iterator>
#include <utility>

namespace Service {

namespace {

constexpr uint16_t kReadable = 1;

Kit::FileDescriptor spare_descriptor() {
    return Kit::FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

Kit::FileDescriptor accept_connection(Kit::ListeningSocket const& socket) {
    return Kit::FileDescriptor(
        accept4(socket.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

}  // namespace

StatusServer::StatusServer(Petrel::Block& block, std::string const& path)
    : socket_(path),
      spare_(spare_descriptor()),
      port_(block.make_fdport("status", socket_.fd(), kReadable)) {}

void StatusServer::serve(std::function<std::string()> const& document, Clock::time_point now) {
    if (port_->triggered() != 0) take_connection(document, now);
    if (now >= look_after_due_) {
        socket_.restore();
        look_after_due_ = now + kLookAfterEvery;
    }
    for (auto reader = readers_.begin(); reader != readers_.end();) {
        const bool done = !send(*reader) || now >= reader->deadline;
        reader = done ? readers_.erase(reader) : std::next(reader);
    }
}

void StatusServer::take_connection(std::function<std::string()> const& document,
                                   Clock::time_point now) {
    Kit::FileDescriptor connection = accept_connection(socket_);
    if (connection.valid()) {
        if (readers_.size() == kMostReaders) return;
        readers_.push_back({std::move(connection), document(), 0, now + kReaderTime});
    } else if (errno == EMFILE || errno == ENFILE) {
        refuse_connection();
    }
}

/** Left in the backlog, a connection would end every wait of the block at once. */
void StatusServer::refuse_connection() {
    spare_.reset();
    accept_connection(socket_).reset();
    spare_ = spare_descriptor();
}

/** Offers the rest of the document. Returns whether the reader is to be kept. */
bool StatusServer::send(Reader& reader) {
    while (reader.sent < reader.document.size()) {
        const ssize_t size =
            ::send(reader.connection.get(), reader.document.data() + reader.sent,
                   reader.document.size() - reader.sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return errno == EAGAIN || errno == EWOULDBLOCK;
        reader.sent += static_cast<size_t>(size);
    }
    return false;
}

}  // namespace Service
