#pragma once

#include <cstdint>
#include <memory>

#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"
#include "tools/input/source_options.h"
#include "tools/screen/progress.h"

namespace Tools {

/**
 * The frames of a source, for somebody who goes to and fro in it. Damage is told once, however
 * often the place is passed. The messages outlive it. One thread at a time. Throws what FrameInput
 * throws.
 */
class PlaySource : private InputHandler {
public:
    /** Opens the source. */
    PlaySource(SourceOptions options, Messages const& messages);

    /** Whether the source can be read more than once: a file or a directory. */
    bool can_rewind() const { return rewindable_; }
    bool is_live() const { return live_; }

    /** Goes on to the next frame; false at the end. */
    bool next();
    /** The frame, until one of these operations. */
    InputFrame const& frame() const { return frame_; }
    bool has_frame() const { return at_frame_; }

    /** Goes to the first frame; false when there is none. Only where can_rewind(). */
    bool rewind();

    /** Goes to the first frame at or after a time. False behind the end, or after Ctrl-C. */
    bool seek(uint64_t timestamp);
    /** Goes to the frame with this number, or the first one. */
    bool seek_number(uint64_t number);

    /** The first frame's time. */
    uint64_t first_timestamp() const { return first_; }
    /** How much of the source was read; 0 when its size is not known. */
    double share_done() const;

    /** Tells the sum of the damage. */
    ExitStatus finish() { return report_.finish(); }

private:
    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const& note) override;

    void open();
    bool next_item();

    SourceOptions options_;
    ProgressBar bar_{ProgressBar::Use::kNever};
    DamageReport report_;
    std::unique_ptr<FrameInput> input_;
    InputFrame frame_;
    bool rewindable_;
    bool live_;
    bool at_frame_ = false;
    bool frame_seen_ = false;
    uint64_t first_ = 0;
    uint64_t items_ = 0;       // read since the source was opened
    uint64_t items_told_ = 0;  // that the report knows
};

}  // namespace Tools
