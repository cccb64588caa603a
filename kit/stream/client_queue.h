#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Kit {

/** A whole stream frame, shared by the queues of all its clients and never changed. */
using SharedFrame = std::shared_ptr<std::string const>;

/**
 * The frames queued for one client, and how many of their bytes were sent. Their number and their
 * bytes are limited; above a limit the oldest waiting frame is dropped, whole. A frame that is
 * partly sent counts towards no limit and is never dropped, since the client would lose the frame
 * boundary.
 *
 * Two frames stay whatever their size: the next to be sent, so that a frame above the limit of
 * bytes reaches a client with an empty queue, and the newest.
 *
 * A client is written to in turns: begin_turn() returns what to write, end_turn() records how much
 * of it was sent. Between the two push() may be called, from another thread if the caller orders
 * all calls with a lock.
 */
class ClientQueue {
public:
    using Clock = std::chrono::steady_clock;

    /** The next bytes to send: `frames` in order, without the first `skipped` bytes. */
    struct Turn {
        std::vector<SharedFrame> frames;
        size_t skipped = 0;
    };

    /**
     * @param limit the number of waiting frames; 0 counts as 1.
     * @param byte_limit the bytes of the frames after the one that is being sent; 0 lets one frame
     *        wait there.
     */
    ClientQueue(size_t limit, size_t byte_limit);

    /** Appends a frame, then drops the oldest waiting frames above a limit. */
    void push(SharedFrame frame, Clock::time_point now);

    /** What to write next: at most `max_frames` frames; none when the queue is empty. */
    Turn begin_turn(size_t max_frames);

    /** Ends a turn in which `sent` bytes were sent, 0 included. */
    void end_turn(size_t sent, Clock::time_point now);

    bool empty() const noexcept;
    /** The number of frames that were not sent whole yet. */
    size_t size() const noexcept;

    /** When the last whole frame was sent, or the first frame was pushed to an empty queue since;
     * meaningless if empty(). */
    Clock::time_point waiting_since() const noexcept;

    /** The frames pushed: those sent, dropped and queued. */
    uint64_t frames_pushed() const noexcept;
    uint64_t frames_sent() const noexcept;
    uint64_t bytes_sent() const noexcept;
    uint64_t frames_dropped() const noexcept;

private:
    void drop_above_limits();
    void drop(size_t index);
    size_t bytes_after(size_t count) const;

    size_t limit_;
    size_t byte_limit_;
    uint64_t frames_pushed_ = 0;
    std::deque<SharedFrame> frames_;
    size_t bytes_ = 0;       // of all frames
    size_t held_ = 0;        // frames at the front that are being written and stay
    size_t first_sent_ = 0;  // bytes of the front frame that were sent
    Clock::time_point since_;
    uint64_t frames_sent_ = 0;
    uint64_t bytes_sent_ = 0;
    uint64_t dropped_ = 0;
};

}  // namespace Kit
