#pragma once

#include <cstdint>
#include <memory>

#include "tools/convert/assembly.h"
#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"

namespace Tools {

/**
 * One of several sources that are read in order of time. Files are looked into at once and opened
 * when their time comes, so that many files that follow one another cost no more than one. One
 * thread at a time.
 */
class MergeSource {
public:
    /**
     * @param messages and bar outlive the source.
     * @throws Kit::InputError when the source cannot be read or is no recording.
     */
    MergeSource(InputOptions const& options_, Messages const& messages, ProgressBar& bar);

    enum class State { kWaiting, kAtFrame, kEnded };

    State state() const { return current_state; }

    /** The time of the frame that comes next; of a source that waits, 0 where it is not known. */
    uint64_t timestamp() const;

    /** Opens a source that waits, and goes on to the first frame; to the end when there is none. */
    void open();

    /** Goes on to the next frame, or the end. */
    void advance();

    /** In kAtFrame. */
    FrameInput const& input() const { return *opened; }
    CurrentHeader const& header() const { return current_header; }

    DamageReport& report() { return damage; }
    bool is_endless() const { return endless; }
    /** Whether Ctrl-C came before its end. */
    bool was_cut_short() const { return cut_short; }

    uint64_t bytes_done() const { return opened ? opened->bytes_done() : done; }
    uint64_t bytes_total() const { return total; }

private:
    void look();

    InputOptions options;
    DamageReport damage;
    State current_state = State::kWaiting;
    std::unique_ptr<FrameInput> opened;
    CurrentHeader current_header;
    uint64_t first_timestamp = 0;
    bool endless = false;
    bool cut_short = true;
    uint64_t done = 0;
    uint64_t total = 0;
};

}  // namespace Tools
