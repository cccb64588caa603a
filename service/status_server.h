#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <string>

#include "kit/base/file_descriptor.h"
#include "kit/stream/listening_socket.h"
#include "petrel/block.h"

namespace Service {

/**
 * Answers every connection to a UNIX stream socket with one document and closes it. Nothing that a
 * reader does holds the caller up: what a reader does not take at once is offered again in every
 * later cycle, and a reader that has not taken all of it in time is disconnected.
 *
 * Owns the socket, its file and the connections. To be used from the block's thread.
 */
class StatusServer {
public:
    using Clock = std::chrono::steady_clock;

    /** How long a reader may take for a document. */
    static constexpr std::chrono::seconds kReaderTime{2};
    /** Readers that are being served at one time; more are disconnected without a document. */
    static constexpr size_t kMostReaders = 32;
    /** How often the socket's file is looked after: where it is gone it is made anew. */
    static constexpr std::chrono::seconds kLookAfterEvery{5};

    /** Listens at `path` and has `block` watch. @throws Kit::Error when it cannot be served.
     */
    StatusServer(Petrel::Block& block, std::string const& path);
    StatusServer(StatusServer const&) = delete;
    StatusServer& operator=(StatusServer const&) = delete;

    /**
     * Does what the block's current cycle has to do: takes at most one connection and answers it
     * with what `document` returns, goes on with those before, and looks after the socket's file.
     */
    void serve(std::function<std::string()> const& document, Clock::time_point now);

    /** Whether a reader has not taken its whole document: then cycles should not be far apart. */
    bool has_readers() const { return !readers_.empty(); }

private:
    struct Reader {
        Kit::FileDescriptor connection;
        std::string document;
        size_t sent = 0;
        Clock::time_point deadline;
    };

    void take_connection(std::function<std::string()> const& document, Clock::time_point now);
    void refuse_connection();
    bool send(Reader& reader);

    Kit::ListeningSocket socket_;
    /** Given up for a moment to refuse a connection when no descriptor is left. */
    Kit::FileDescriptor spare_;
    Petrel::FDPort* port_;
    std::list<Reader> readers_;
    Clock::time_point look_after_due_;
};

}  // namespace Service
