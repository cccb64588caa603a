#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Kit {

struct RelayOptions {
    /** Where clients connect: the path of a UNIX stream socket. */
    std::string socket_path;
    /** The number of frames that wait for one client at most; 0 counts as 1. */
    size_t queue_frames = 64;
    /** A client for which frames wait this long without one of them going out whole is dropped;
     * 0 or less: never. */
    std::chrono::milliseconds stuck_after{2000};
    /** How many clients are connected at a time at most; 0 counts as 1. */
    size_t most_clients = 65536;
    /** The bytes of the frames that wait for one client behind the one that goes out, at most. A
     * frame is queued whatever its size when nothing else waits there. */
    size_t queue_bytes = 8 * 1024 * 1024;
    /** How often the socket's file is looked after: where it is gone it is made anew. 0 or less:
     * never. */
    std::chrono::milliseconds look_after_every{5000};
};

/** One connected client. */
struct ClientCounters {
    uint64_t id = 0;  // 1 for the first client of the relay, and so on
    uint64_t frames_sent = 0;
    uint64_t frames_dropped = 0;
    uint64_t bytes_sent = 0;
    uint64_t queued = 0;  // frames that the client has not got whole
};

/** What a relay has done since it was made. */
struct RelayCounters {
    uint64_t frames = 0;  // published
    uint64_t bytes = 0;   // of the published frames, headers included
    uint64_t clients_accepted = 0;
    uint64_t clients_dropped_stuck = 0;
    /** Frames that a client did not get because its queue was full, or because of stop(); for all
     * clients, those that have left included. */
    uint64_t frames_dropped = 0;
    /** What was wrong with a stream that relay_from() read; empty while nothing was. */
    std::string source_fault;
    std::vector<ClientCounters> clients;  // those connected now, by id
};

/**
 * Serves a target stream to any number of clients at a UNIX socket, none of which can hold up the
 * producer or another client.
 *
 * Every client gets whole frames, from the first frame that is published after it was accepted. For
 * a client that reads too slowly a queue of frames is kept, bounded in number and in bytes; when it
 * is full the oldest frames that wait are dropped, whole, so that such a client sees recent frames,
 * and counted. A client that is stuck is disconnected, with a log line. A client may shut down its
 * sending side and still gets frames; what clients send is read and discarded.
 *
 * Owns the socket with its file (as ListeningSocket does), the clients' descriptors, and one thread
 * that does all reading and writing; the thread blocks all signals. publish(), relay_from() and
 * counters() may be called from any thread, stop() and the destructor by one thread. When there are
 * as many clients as there may be, or no descriptor is left for a new one, that client waits in the
 * socket's backlog until there is room.
 */
class Relay {
public:
    /**
     * Binds the socket, listens and starts the thread.
     *
     * @throws Error with the path when it cannot be served (see ListeningSocket), or when the
     *         system grants no descriptor or thread.
     */
    explicit Relay(RelayOptions options);

    /** stop(), with no time for what is queued. */
    ~Relay();
    Relay(Relay const&) = delete;
    Relay& operator=(Relay const&) = delete;

    /**
     * Queues a frame for every client and returns at once. Ignored after stop().
     *
     * @param stream_frame one whole stream frame, header included.
     * @throws std::invalid_argument when it is none; then nobody gets it.
     */
    void publish(std::string stream_frame);

    /**
     * Reads a target stream from `fd` on the relay's thread and publishes each whole frame, until
     * the stream ends. Typically `fd` is the external end of a Radar::RadarSocket; the relay reads
     * from a duplicate of it, so `fd` stays the caller's to close, and it is non-blocking while
     * the relay reads. The relay reads on while clients are slow: the writer never waits for them.
     *
     * When the stream is at fault (foreign bytes, an end inside a frame) that is logged and kept in
     * RelayCounters::source_fault. After foreign bytes nothing more of this stream is published,
     * but it is still read, so that its writer does not block.
     *
     * @throws Error "Failed to relay from descriptor <fd>", with the system's reason.
     */
    void relay_from(int fd);

    RelayCounters counters() const;

    /**
     * Ends the service: removes the socket, publishes what can be read from the streams of
     * relay_from() at this moment, gives clients up to `grace` to take what is queued for them,
     * then disconnects them. Returns when all that is done; does nothing a second time. Counters
     * keep their values. What a client has not read yet stays readable at its end.
     *
     * @param grace 0 or less: what a client does not take at once is lost, and counted as dropped.
     */
    void stop(std::chrono::milliseconds grace);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Kit
