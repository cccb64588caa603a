#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "kit/recording/finding.h"
#include "tools/cli/exit_status.h"
#include "tools/cli/messages.h"
#include "tools/input/frame_input.h"
#include "tools/screen/progress.h"

namespace Tools {

/**
 * Keeps account of what is the matter with an input: a message on standard error for each place, a
 * sum at the end, and the exit status. The messages and the bar outlive it. One thread at a time.
 *
 *     DamageReport report(console.messages, bar);
 *     while (report.next_frame(*input)) use(input->frame());
 *     finish();
 *     return report.finish(*input);
 */
class DamageReport {
public:
    /** @param bar what is drawn on standard error meanwhile; next_frame() moves it. */
    DamageReport(Messages const& messages, ProgressBar& bar) : messages_(messages), bar_(bar) {}

    /**
     * Goes on to the next selected frame, and takes note of what comes before it. Returns false at
     * the end of the input.
     *
     * @throws Kit::InputError what the input throws, and at the end when the source was no
     *         recording at all: neither a header nor a frame, but damage.
     */
    bool next_frame(FrameInput& input);

    /** For verbs that look at all items: goes on to the next one, and takes note of it. */
    bool next(FrameInput& input);

    /**
     * For one of several inputs: the sum names `source`, and from now on the bar shows the
     * progress that `update` gives it.
     */
    void is_one_of_several(std::string const& source, std::function<void(ProgressBar&)> update) {
        source_ = source + ": ";
        update_ = std::move(update);
    }

    /** Takes note of a loss that the input knows nothing of. `what` is part of a line. */
    void add_loss(std::string const& what);

    /** Whether anything was lost, skipped or damaged so far. */
    bool has_damage() const { return places_ > 0; }

    /** Tells the sum, and that Ctrl-C ended the work early. kDamaged when anything is amiss. */
    ExitStatus finish(FrameInput const& input);

    /** The same where it is for the person to end the work. */
    ExitStatus finish();

private:
    void note(FrameInput const& input);
    void use(std::string const& file, Kit::Finding const& finding);
    void tell_pending();
    void check_content(FrameInput const& input);

    Messages const& messages_;
    ProgressBar& bar_;
    std::string source_;  // what the lines of the sum begin with
    std::function<void(ProgressBar&)> update_;
    std::string pending_;  // a message that the number of skipped bytes may complete
    std::string first_;    // the first message about damage
    bool has_content_ = false;
    uint64_t frames_ = 0;
    uint64_t places_ = 0;
    uint64_t untold_ = 0;
    uint64_t skipped_ = 0;
};

}  // namespace Tools
