#pragma once

#include <cstdint>
#include <string>

#include "kit/encoding/target_reader.h"
#include "tools/diff/tolerance.h"
#include "tools/input/frame.h"

namespace Tools {

/** Takes what differs between two frames. */
class DifferenceSink {
public:
    DifferenceSink() = default;
    virtual ~DifferenceSink() = default;
    DifferenceSink(DifferenceSink const&) = delete;
    DifferenceSink& operator=(DifferenceSink const&) = delete;

    /** The frames' magics differ. */
    virtual void magic_differs(uint32_t a, uint32_t b) = 0;

    /** A field of a target differs. `index` is from 0 on; values are as frames are printed. */
    virtual void field_differs(uint64_t index_a, uint64_t index_b, FrameField field,
                               std::string const& a, std::string const& b) = 0;

    /** One of the frames has a target that the other one does not have. */
    virtual void target_only_in_a(uint64_t index) = 0;
    virtual void target_only_in_b(uint64_t index) = 0;
};

/**
 * Compares two frames, target by target in their order. Where one has more targets, those are left
 * out that let the rest agree. Fields that the schema does not have are not compared. Costs no
 * memory. Returns whether the frames agree.
 */
bool compare_frames(InputFrame const& a, InputFrame const& b, Tolerances const& tolerances,
                    DifferenceSink& sink);

}  // namespace Tools
