#include "tools/input/frame_input.h"

#include "tools/cli/signals.h"

namespace Tools {

/** Numbers the frames, and passes on those that are selected and every other item. */
class FrameInput::SelectedItems final : public InputHandler {
public:
    SelectedItems(FrameInput& input, InputHandler& handler) : input_(input), handler_(handler) {}

    /** Whether the last item was passed on. */
    bool has_passed() const { return passed_; }

private:
    void on_file(Kit::RecordingFile const& file, FileState state) override {
        passed_ = true;
        handler_.on_file(file, state);
    }

    void on_header(Kit::RecordingHeader const& header) override {
        passed_ = true;
        handler_.on_header(header);
    }

    void on_frame(InputFrame const& frame) override {
        const uint64_t number = input_.frame_count_++;
        const auto verdict = input_.selection_.judge(number, frame.timestamp);
        input_.over_ = verdict == Selection::Verdict::kOver;
        if (verdict != Selection::Verdict::kSelected) return;
        passed_ = true;
        InputFrame numbered = frame;
        numbered.number = number;
        handler_.on_frame(numbered);
    }

    void on_finding(Kit::Finding const& finding) override {
        passed_ = true;
        handler_.on_finding(finding);
    }

    void on_note(std::string const& note) override {
        passed_ = true;
        handler_.on_note(note);
    }

    FrameInput& input_;
    InputHandler& handler_;
    bool passed_ = false;
};

bool FrameInput::next(InputHandler& handler) {
    SelectedItems items(*this, handler);
    while (!over_ && !interrupted_) {
        if (was_interrupted()) {
            interrupt();
            return false;
        }
        if (!read(items)) return false;
        if (items.has_passed()) return true;
    }
    return false;
}

void read_all(FrameInput& input, InputHandler& handler) {
    while (input.next(handler)) {
    }
}

}  // namespace Tools
