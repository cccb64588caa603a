#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "tools/cli/exit_status.h"
#include "tools/cli/messages.h"
#include "tools/input/frame_input.h"
#include "tools/screen/progress.h"

namespace Tools {

/**
 * Reports the damage of an input: a message on standard error for each place, a sum at the end, and
 * the exit status. The messages and the bar outlive it. One thread at a time.
 *
 *     DamageReport report(console.messages, bar);
 *     report.read_frames(*input, [&](InputFrame const& frame) { use(frame); });
 *     finish();
 *     return report.finish(*input);
 */
class DamageReport : private InputHandler {
public:
    /** @param bar shows the progress on standard error; each item moves it. */
    DamageReport(Messages const& messages, ProgressBar& bar) : messages_(messages), bar_(bar) {}

    /**
     * Delivers the input's next item to `handler`, and reports it before if it is damage. Returns
     * false at the end of the input.
     *
     * @throws Kit::InputError what the input throws, and at the end when the source was no
     *         recording at all: neither a header nor a frame, but damage. And what the handler
     *         throws.
     */
    bool next(FrameInput& input, InputHandler& handler);

    /** Delivers every item up to the end. Throws what next() throws. */
    void read_all(FrameInput& input, InputHandler& handler);

    /** For verbs that only frames matter to: calls `use` with every frame. Throws the same. */
    void read_frames(FrameInput& input, std::function<void(InputFrame const&)> const& use);

    /**
     * For one of several inputs: the sum names `source`, and from now on the bar shows the
     * progress that `update` gives it.
     */
    void is_one_of_several(std::string const& source, std::function<void(ProgressBar&)> update) {
        source_ = source + ": ";
        update_ = std::move(update);
    }

    /** Reports a loss that the input knows nothing of. `what` is part of a line. */
    void add_loss(std::string const& what);

    /** Whether anything was lost, skipped or damaged so far. */
    bool has_damage() const { return places_ > 0; }

    /** Reports the sum, and that Ctrl-C ended the work early. kDamaged after any damage. */
    ExitStatus finish(FrameInput const& input);

    /** The same where it is for the user to end the work. */
    ExitStatus finish();

private:
    class Both;
    class Frames;

    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const& note) override;

    void update_bar(FrameInput const& input);
    void report_pending();
    void check_content(FrameInput const& input);

    Messages const& messages_;
    ProgressBar& bar_;
    std::string source_;  // what the lines of the sum begin with
    std::function<void(ProgressBar&)> update_;
    std::string file_;     // the path of the current one
    std::string pending_;  // a message that the number of skipped bytes may complete
    std::string first_;    // the first message about damage
    bool has_content_ = false;
    uint64_t frames_ = 0;
    uint64_t places_ = 0;
    uint64_t unreported_ = 0;
    uint64_t skipped_ = 0;
};

}  // namespace Tools
