#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Kit {

/** A whole stream frame, shared by all clients that it goes to and never changed. */
using SharedFrame = std::shared_ptr<std::string const>;

/**
 * The frames that wait for one client, and how much of them the client has got. Their number and
 * their bytes are limited; above a limit the oldest frame that waits is dropped, whole. The frame
 * that the client has got a part of is not counted, and never dropped, since the client would lose
 * the frame boundary.
 *
 * Two frames stay whatever their size: the one that is next to go out, so that a frame above the
 * limit of bytes reaches a client for which nothing waits, and the newest.
 *
 * A client is written to in turns: begin_turn() says what to write, end_turn() how much of it was
 * taken. Between the two push() may be called, from another thread when the caller orders all calls
 * with a lock.
 */
class ClientQueue {
public:
    using Clock = std::chrono::steady_clock;

    /** The next bytes for the client: `frames` in order, without the first `skipped` bytes. */
    struct Turn {
        std::vector<SharedFrame> frames;
        size_t skipped = 0;
    };

    /**
     * @param limit how many frames wait at most; 0 counts as 1.
     * @param byte_limit the bytes of the frames behind the one that goes out, at most; 0 lets one
     *        frame wait there.
     */
    ClientQueue(size_t limit, size_t byte_limit);

    /** Appends a frame. What is above a limit then is dropped, the oldest first. */
    void push(SharedFrame frame, Clock::time_point now);

    /** What to write next: no more than `max_frames` frames, none when no frame waits. */
    Turn begin_turn(size_t max_frames);

    /** Ends the turn in which the client took `taken` bytes, or none. */
    void end_turn(size_t taken, Clock::time_point now);

    bool empty() const noexcept;
    /** The number of frames that the client has not got whole. */
    size_t size() const noexcept;

    /** Since when frames have waited without one being handed over whole; meaningless if empty().
     */
    Clock::time_point waiting_since() const noexcept;

    uint64_t frames_sent() const noexcept;
    uint64_t bytes_sent() const noexcept;
    uint64_t frames_dropped() const noexcept;

private:
    void drop_above_limits();
    void drop(size_t index);
    size_t bytes_behind(size_t count) const;

    size_t limit_;
    size_t byte_limit_;
    std::deque<SharedFrame> frames_;
    size_t bytes_ = 0;        // of all frames
    size_t held_ = 0;         // frames at the front that are being written and stay
    size_t first_taken_ = 0;  // bytes of the front frame that the client has got
    Clock::time_point since_;
    uint64_t sent_ = 0;
    uint64_t sent_bytes_ = 0;
    uint64_t dropped_ = 0;
};

}  // namespace Kit
