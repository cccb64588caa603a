#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kit/stream/client_counters.h"
#include "kit/stream/relay_options.h"

namespace Kit {

/** Counters of a relay since its construction. */
struct RelayCounters {
    uint64_t frames = 0;  // published
    uint64_t bytes = 0;   // of the published frames, headers included
    uint64_t clients_accepted = 0;
    uint64_t clients_dropped_stuck = 0;
    /** For all clients, those that have left included: the frames published to each, of which were
     * sent, dropped (from full queues, at stop(), or queued when their client left), or are queued.
     */
    uint64_t frames_offered = 0;
    uint64_t frames_sent = 0;
    uint64_t frames_dropped = 0;
    /** The defect of a stream that relay_from() read; empty while there is none. */
    std::string source_fault;
    std::vector<ClientCounters> clients;  // those connected now, by id
};

/**
 * Serves a target stream to any number of clients at a UNIX socket, none of which can hold up the
 * producer or another client.
 *
 * Every client receives whole frames, from the first frame that is published after it was accepted.
 * Frames for a client that reads too slowly are queued, up to a limit of frames and of bytes; from
 * a full queue the oldest waiting frames are dropped, whole, and counted, so that such a client
 * sees recent frames. A stuck client is disconnected, with a log line. A client that has shut down
 * its sending side still receives frames; what clients send is read and discarded.
 *
 * Owns the socket with its file (as ListeningSocket does), the clients' descriptors, and one thread
 * that does all reading and writing; the thread blocks all signals. publish(), relay_from() and
 * counters() may be called from any thread, stop() and the destructor by one thread. At the limit
 * of clients, or without a free descriptor, a new client waits in the socket's backlog until there
 * is room.
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

    /** stop() without a grace period. */
    ~Relay();
    Relay(Relay const&) = delete;
    Relay& operator=(Relay const&) = delete;

    /**
     * Queues a frame for every client and returns at once. Ignored after stop().
     *
     * @param stream_frame one whole stream frame, header included.
     * @throws std::invalid_argument when it is none; then no client receives it.
     */
    void publish(std::string stream_frame);

    /**
     * Reads a target stream from `fd` on the relay's thread and publishes each whole frame, until
     * the stream ends. Typically `fd` is the external end of a Radar::RadarSocket; the relay reads
     * from a duplicate of it, so `fd` stays the caller's to close. It is non-blocking while the
     * relay reads; a blocking mode that cannot be restored afterwards is logged. The relay reads on
     * while clients are slow: the writer never waits for them.
     *
     * A defect of the stream (foreign bytes, an end mid-frame) is logged and recorded in
     * RelayCounters::source_fault. After foreign bytes nothing more of this stream is published,
     * but it is still read, so that its writer does not block.
     *
     * @throws Error "Failed to relay from descriptor <fd>", with the system's reason.
     */
    void relay_from(int fd);

    RelayCounters counters() const;

    /**
     * Ends the service: removes the socket, publishes what can be read from the streams of
     * relay_from() at this moment, waits up to `grace` until the clients' queues are sent, then
     * disconnects the clients. Returns when that is done; does nothing a second time. Counters keep
     * their values. What was sent stays readable at the client's end.
     *
     * @param grace 0 or less: frames that cannot be sent at once are lost, and counted as dropped.
     */
    void stop(std::chrono::milliseconds grace);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Kit
