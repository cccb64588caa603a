#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tools/format/fields.h"

namespace Tools {

/** How far two values may be apart that count as equal: none of these, or as far as one says. */
struct Tolerance {
    double absolute = 0;
    double relative = 0;  // of the larger one's magnitude, 0.01 for 1 %
};

/** Whether two numbers are within the tolerance; what is no number is equal to its like only. */
bool agree(float left, float right, Tolerance const& tolerance);

/** The tolerances of a frame's fields, as a person gives them. One thread at a time. */
class Tolerances {
public:
    /**
     * Reads a list of tolerances, "0.001,snr=5%,timestamp=100": an absolute one or, with %, a
     * relative one, for a field or, without a field, for all floats. A field may have both. Of
     * timestamps it is in us, and absolute. Later ones replace earlier ones of their kind.
     *
     * @throws Kit::UsageError when it makes no sense.
     */
    void add(std::string const& text);

    /** Of a float field of targets. */
    Tolerance const& of(FrameField field) const;

    bool timestamps_agree(uint64_t left, uint64_t right) const {
        return (left < right ? right - left : left - right) <= timestamp_us_;
    }

private:
    void add_one(std::string const& text);

    std::map<FrameField, Tolerance> floats_;
    uint64_t timestamp_us_ = 0;
};

}  // namespace Tools
