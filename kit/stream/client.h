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
 * Reads a target stream frame by frame, blocking up to a time limit.
 *
 * Owns its descriptor. One thread at a time. After kEnd, kTruncated, kForeign and kFailed the
 * stream is over, and next() returns the same result again.
 */
class StreamClient {
public:
    enum class Result {
        kFrame,        // a frame
        kTimeout,      // no whole frame in time, or a signal interrupted the wait
        kUndecodable,  // a whole frame whose payload does not decode; the stream goes on
        kEnd,          // the stream ended between two frames
        kTruncated,    // the stream ended mid-frame
        kForeign,      // the bytes are not, or no longer, a target stream
        kFailed        // the descriptor could not be read
    };

    /**
     * Connects to the service that listens at the UNIX socket `path`.
     *
     * @throws InputError with the path and the system's reason.
     */
    explicit StreamClient(std::string const& path);

    /** Reads from `fd`, a socket, a pipe or a file, and owns it from now on. */
    explicit StreamClient(int fd);
    StreamClient(StreamClient const&) = delete;
    StreamClient& operator=(StreamClient const&) = delete;

    /**
     * Waits for the next frame.
     *
     * @param frame is set to the frame; on kUndecodable only its payload; otherwise unchanged.
     * @param timeout 0 does not wait; a negative time waits without limit.
     */
    [[nodiscard]] Result next(StreamFrame& frame, std::chrono::milliseconds timeout);

    /** The defect, for kUndecodable, kTruncated, kForeign and kFailed: one line, without the name
     * of the stream. */
    std::string const& problem() const noexcept;

    /** The bytes of the whole frames read so far, headers included. */
    uint64_t bytes() const noexcept;

    /** The descriptor, which stays this object's. */
    int fd() const noexcept;

private:
    Result decode(StreamFrame& frame, std::string const& stream_frame);
    void read_piece();
    Result end(Result result, std::string const& problem);

    FileDescriptor stream_;
    StreamParser parser_;
    std::unique_ptr<char[]> piece_;
    uint64_t frames_ = 0;
    Result state_ = Result::kFrame;  // or the result that ended the stream
    std::string problem_;
};

}  // namespace Kit
