#pragma once

#include <cstdint>
#include <memory>

#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"
#include "tools/screen/progress.h"

namespace Tools {

/**
 * The frames of a source, for somebody who goes to and fro in it. Damage is told once, however
 * often the place is passed. The messages outlive it. One thread at a time. Throws what FrameInput
 * throws.
 */
class PlaySource {
public:
    /** Opens the source. */
    PlaySource(InputOptions options_, Messages const& messages);

    /** Whether the source can be read more than once: a file or a directory. */
    bool can_rewind() const { return rewindable; }
    bool is_live() const { return live; }

    /** Goes on to the next frame; false at the end. */
    bool next();
    /** The frame, until one of these operations. */
    InputFrame const& frame() const { return input->frame(); }
    bool has_frame() const { return at_frame; }

    /** Goes to the first frame; false when there is none. Only where can_rewind(). */
    bool rewind();

    /** Goes to the first frame at or after a time. False behind the end, or after Ctrl-C. */
    bool seek(uint64_t timestamp);
    /** Goes to the frame with this number, or the first one. */
    bool seek_number(uint64_t number);

    /** The first frame's time. */
    uint64_t first_timestamp() const { return first; }
    /** How much of the source was read; 0 when its size is not known. */
    double share_done() const;

    /** Tells the sum of the damage. */
    ExitStatus finish() { return report.finish(); }

private:
    void open();

    InputOptions options;
    ProgressBar bar{ProgressBar::Use::kNever};
    DamageReport report;
    std::unique_ptr<FrameInput> input;
    bool rewindable;
    bool live;
    bool at_frame = false;
    bool frame_seen = false;
    uint64_t first = 0;
    uint64_t items = 0;       // read since the source was opened
    uint64_t items_told = 0;  // that the report knows
};

}  // namespace Tools
