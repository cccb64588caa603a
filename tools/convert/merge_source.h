#pragma once

#include <cstdint>
#include <memory>

#include "tools/convert/assembly.h"
#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"
#include "tools/input/source_options.h"

namespace Tools {

/**
 * One of several sources that are read in order of time. Files are looked into at once and opened
 * when their time comes, so that many files that follow one another cost no more than one. One
 * thread at a time.
 */
class MergeSource : private InputHandler {
public:
    /**
     * @param messages and bar outlive the source.
     * @throws Kit::InputError when the source cannot be read or is no recording.
     */
    MergeSource(SourceOptions const& options, Messages const& messages, ProgressBar& bar);

    enum class State { kWaiting, kAtFrame, kEnded };

    State state() const { return current_state_; }

    /** The time of the frame that comes next; of a source that waits, 0 where it is not known. */
    uint64_t timestamp() const;

    /** Opens a source that waits, and continues to the first frame; to the end when there is none.
     */
    void open();

    /** Goes on to the next frame, or the end. */
    void advance();

    /** The current one, in kAtFrame. */
    InputFrame const& frame() const { return frame_; }
    FrameOrigin const& origin() const { return origin_; }

    DamageReport& report() { return damage_; }
    bool is_endless() const { return endless_; }
    /** Whether Ctrl-C came before its end. */
    bool is_interrupted() const { return interrupted_; }

    uint64_t bytes_done() const { return opened_ ? opened_->bytes_done() : done_; }
    uint64_t bytes_total() const { return total_; }

private:
    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const& note) override;

    void look();

    SourceOptions options_;
    DamageReport damage_;
    State current_state_ = State::kWaiting;
    std::unique_ptr<FrameInput> opened_;
    FrameOrigin origin_;
    InputFrame frame_;
    uint64_t first_timestamp_ = 0;
    bool endless_ = false;
    bool interrupted_ = true;
    uint64_t done_ = 0;
    uint64_t total_ = 0;
};

}  // namespace Tools
