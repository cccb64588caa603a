#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "kit/base/file_descriptor.h"
#include "kit/stream/parser.h"
#include "radar_objects/radar_objects.pb.h"

namespace Kit {

/** One frame from a stream. */
struct StreamFrame {
    std::string payload;  // as it was sent
    RO::RadarObjects objects;
};

/**
 * Reads a target stream frame by frame, blocking for as long as the caller allows.
 *
 * Owns its descriptor. One thread at a time. After kEnd, kCut, kForeign and kFailed the stream is
 * over, and next() gives the same answer again.
 */
class StreamClient {
public:
    enum class Result {
        kFrame,        // a frame
        kTimeout,      // no whole frame in time, or a signal interrupted the wait
        kUndecodable,  // a whole frame whose payload does not decode; the stream goes on
        kEnd,          // the stream ended between two frames
        kCut,          // the stream ended inside a frame
        kForeign,      // the bytes are no target stream, or no longer
        kFailed        // the descriptor could not be read
    };

    /**
     * Connects to the service that listens at the UNIX socket `path`.
     *
     * @throws InputError with the path and the system's reason.
     */
    explicit StreamClient(std::string const& path);

    /** Reads from `fd`, a socket, a pipe or a file, which this object owns from now on. */
    explicit StreamClient(int fd);
    StreamClient(StreamClient const&) = delete;
    StreamClient& operator=(StreamClient const&) = delete;

    /**
     * Waits for the next frame.
     *
     * @param frame gets the frame; on kUndecodable its payload only; else is left alone.
     * @param timeout 0 takes what is there; a negative time waits without limit.
     */
    [[nodiscard]] Result next(StreamFrame& frame, std::chrono::milliseconds timeout);

    /** What was wrong, for kUndecodable, kCut, kForeign and kFailed: one line, without the name of
     * the stream. */
    std::string const& problem() const noexcept;

    /** The number of bytes of the whole frames that were read, headers included. */
    uint64_t bytes() const noexcept;

    /** The descriptor; this object's. */
    int fd() const noexcept;

private:
    Result take_frame(StreamFrame& frame, std::string const& stream_frame);
    void read_piece();
    Result end(Result why, std::string const& what);

    FileDescriptor stream_;
    StreamParser parser_;
    std::unique_ptr<char[]> piece_;
    uint64_t frames_ = 0;
    Result state_ = Result::kFrame;  // anything but a result that ends the stream: it goes on
    std::string what_is_wrong_;
};

}  // namespace Kit
