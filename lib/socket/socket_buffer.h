#pragma once

#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "petrelradar_export.h"
#include "radar_objects/radar_objects.pb.h"

namespace Radar {

/**
 * One frame of targets under construction, and the consumers that it is sent to.
 *
 * A producer fills the buffer with add_targets() or push_back(), calls send() with the frame's
 * timestamp, and finds the buffer empty again for the next cycle. A reader fills it with
 * set_data().
 *
 * Owns its frame and, from set_fd() on, the consumers' descriptors: it closes a descriptor when its
 * consumer is removed, replaced or fails. One thread at a time; callers that share a buffer order
 * their calls themselves. Writing to a consumer whose peer has gone raises SIGPIPE: the process
 * ignores that signal.
 *
 * A consumer that fails is forgotten without a message; the others still get the whole frame.
 */
class PETRELRADAR_API SocketBuffer {
public:
    /**
     * A read-only position in a frame. Owns nothing: the frame must outlive it. Dereferencing a
     * position outside the frame's targets is protobuf's fatal check failure, "CHECK failed:
     * (index) >= (0): " or "CHECK failed: (index) < (current_size_): ", in every build.
     */
    class PETRELRADAR_API iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = RO::TargetData;
        using difference_type = std::ptrdiff_t;
        using pointer = RO::TargetData const*;
        using reference = RO::TargetData const&;

        /** The position of target `index`, from 0, in `frame`. Any index is accepted. */
        iterator(RO::RadarObjects const* frame, int index);

        /** Advances by one target; returns the new position. */
        iterator operator++();
        /** Advances by one target; returns the position before. */
        iterator operator++(int);
        /** The target at this position. */
        RO::TargetData const& operator*() const;
        RO::TargetData const* operator->() const;
        /** Whether both positions are the same index of the same frame object. */
        bool operator==(iterator const& other) const;
        bool operator!=(iterator const& other) const;

    private:
        int index_;
        RO::RadarObjects const* frame_;
    };

    /** An empty frame that holds at most `limit` targets; none when `limit` is 0 or less. */
    explicit SocketBuffer(int limit);

    /**
     * Closes the consumers' descriptors, with a gap that is part of the interface: the consumers at
     * places 0, 2, 4, … in order of registration and the last one are closed, the others stay open
     * and are the process's to close. Remove consumers with remove_fd() to have every one closed.
     */
    ~SocketBuffer();

    SocketBuffer(SocketBuffer const&) = delete;
    SocketBuffer& operator=(SocketBuffer const&) = delete;

    /** Replaces the target limit. Allocates nothing and removes no target. */
    void reserve(int limit);

    /** The number of targets in the frame. */
    int size() const;

    /** Appends a copy of `target`, or does nothing when the frame is at its limit. */
    void push_back(RO::TargetData const& target);

    /**
     * Appends an empty target for the caller to fill. Returns null when the frame is at its limit.
     * The target is the frame's, valid until the next clear(), set_data() or send().
     */
    RO::TargetData* add_targets();

    /** The target at `index`, writable. An index outside the targets fails as iterator says. */
    RO::TargetData& operator[](int index);

    /** The position of the first target. */
    iterator begin() const;
    /** The position after the last target of this moment. */
    iterator end() const;

    /** Sets the frame's time, in the producer's unit; it stays until it is set again. */
    void set_timestamp(unsigned long long timestamp);
    unsigned long long timestamp() const;

    /** Removes all targets; the frame's magic and timestamp stay. */
    void clear();

    /**
     * Returns the frame's protobuf encoding, without a stream header. A field that equals zero is
     * omitted, -0.0 included; fields that the schema does not know are kept.
     */
    std::string data() const;

    /**
     * Replaces the whole frame by one that was encoded before, magic and timestamp included (0
     * where the bytes have none). The target limit does not apply.
     *
     * @return whether the `len` bytes at `bytes` are a frame; if not, the old targets are gone and
     *         the frame is left partly filled.
     */
    bool set_data(char const* bytes, unsigned int len);
    bool set_data(std::string const& bytes);

    /**
     * Registers a consumer under `key`, an arbitrary number of the caller's; a consumer registered
     * under that key before is removed first. Frames are written to `fd`, which this object owns
     * from now on; it should be non-blocking.
     */
    void set_fd(int key, int fd);

    /** Removes the consumer registered under `key` and closes its descriptor; else does nothing. */
    void remove_fd(int key);

    /**
     * Writes `len` bytes to every consumer in order of registration; 0 writes nothing. Waits
     * without a time limit for a consumer whose socket is full. A consumer that cannot be written
     * to, for any other reason, is closed and removed.
     */
    void send_buffer(char const* bytes, unsigned int len);

    /**
     * Writes the frame to every consumer as magic, length (4 bytes each) and encoding, then removes
     * the targets. Encodes nothing when there are no consumers. Blocks as send_buffer() does.
     */
    void send();
    /** set_timestamp(), then send(). */
    void send(unsigned long long timestamp);

    /** Writes the frame's debug text, one line for each field that is not zero. Returns `os`. */
    std::ostream& operator<<(std::ostream& os);

private:
    int limit_;
    std::vector<std::pair<int, int>> consumers_;
    RO::RadarObjects frame_;
};

/** Writes the target's debug text, one line for each field that is not zero. Returns `os`. */
PETRELRADAR_API std::ostream& operator<<(std::ostream& os, RO::TargetData const& target);

}  // namespace Radar
