#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kit/stream/format.h"

namespace Kit {

/** Why bytes are no target stream. */
struct StreamFault {
    /** Where the next frame should begin, in bytes from the start of the stream. */
    uint64_t offset;
    /** The defect: "12 34 56 78 in place of the magic 02 71 bb 01". */
    std::string reason;
};

/**
 * Splits a target stream that arrives in pieces of any size into its frames:
 *
 *     parser.append(bytes);
 *     while (std::optional<std::string> frame = parser.next()) use(*frame);
 *     if (parser.fault()) ...
 *
 * Holds the bytes of the frame that is not whole yet: at most one piece and one frame. One thread
 * at a time. After a fault the frame boundaries are lost: the object returns no more frames and
 * ignores what is appended, until reset().
 */
class StreamParser {
public:
    /** @param max_payload a length above this many bytes is a fault. */
    explicit StreamParser(uint32_t max_payload = kMaxStreamPayload);

    /** Adds the next bytes of the stream. */
    void append(std::string_view bytes);

    /**
     * Removes and returns the next whole frame, header included. Returns nothing when more bytes
     * are needed or after a fault. The payload is not decoded.
     */
    [[nodiscard]] std::optional<std::string> next();

    /** The fault of the stream; nothing while it is well-formed. */
    std::optional<StreamFault> const& fault() const noexcept;

    /** The number of bytes of the frame that is not whole yet; 0 between two frames. */
    size_t pending() const noexcept;

    /** The number of bytes that next() has returned. */
    uint64_t offset() const noexcept;

    /** Begins a new stream: forgets all bytes and the fault. */
    void reset();

private:
    bool magic_is_valid();
    bool length_is_valid(uint32_t length);

    uint32_t max_payload_;
    std::string bytes_;
    size_t begin_ = 0;  // of the next frame, in bytes_
    uint64_t stream_offset_ = 0;
    std::optional<StreamFault> fault_;
};

}  // namespace Kit
