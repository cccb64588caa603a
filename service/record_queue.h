#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace Service {

/**
 * The records that wait for storage, oldest first, bounded in number and in bytes: beyond a bound
 * the oldest is dropped, whole. One record waits whatever its size. No lock: callers order their
 * calls.
 */
class RecordQueue {
public:
    /** @param most_frames 0 counts as 1. */
    RecordQueue(size_t most_frames, size_t most_bytes);

    /** Appends a record. Returns how many were dropped for it. */
    size_t push(std::string record);

    /** Removes the oldest record; none when nothing waits. */
    std::optional<std::string> pop();

    /** Puts a record back in front of all. Returns how many were dropped, this one included. */
    size_t restore(std::string record);

    /** Removes everything. Returns how many records that were. */
    size_t clear();

    size_t frames() const { return records_.size(); }
    size_t bytes() const { return bytes_; }
    size_t most_frames() const { return most_frames_; }
    size_t most_bytes() const { return most_bytes_; }

    /** Whether at least this part of either bound is used. */
    bool is_filled(double part) const;

private:
    size_t drop_surplus();

    size_t most_frames_;
    size_t most_bytes_;
    std::deque<std::string> records_;
    size_t bytes_ = 0;
};

}  // namespace Service
