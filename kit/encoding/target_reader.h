#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Kit {

/** The fields of a target as in RO::TargetData: dB, m, m/s, rad, a flag word, dB. */
struct TargetValues {
    float rcs = 0;
    float r = 0;
    float rdot = 0;
    float theta = 0;
    uint32_t options = 0;
    float snr = 0;
};

/**
 * Iterates over the targets of an encoded frame that survey_frame() calls well-formed, one at a
 * time, so that a frame of any size takes no memory. Does not own the encoding. One thread at a
 * time.
 */
class TargetReader {
public:
    explicit TargetReader(std::string_view frame) : rest_(frame) {}

    /** Takes the encoding of the next target, an RO::TargetData; false when there is none. */
    bool next(std::string_view& target);

private:
    std::string_view rest_;
};

/** The fields in the encoding of a target, from a TargetReader. */
TargetValues read_target(std::string_view target);

/** The encoding of the frame without its targets: what a TargetReader skips. */
std::string frame_without_targets(std::string_view frame);

}  // namespace Kit
