#include "tools/convert/merge.h"

#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/cli/signals.h"
#include "tools/convert/assembly.h"
#include "tools/convert/merge_source.h"
#include "tools/output/destination.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    std::vector<std::string> sources;
    std::string recorder;
    OutputOptions output;
    bool once = false;
};

bool same_frame(InputFrame const& left, InputFrame const& right) {
    return left.timestamp == right.timestamp && left.tag == right.tag &&
           left.payload == right.payload;
}

/** A merge under way. */
class Merge {
public:
    Merge(Options const& options, Console& console)
        : options_(options), messages_(console.messages) {
        SourceOptions input;
        input.recorder = options_.recorder;
        for (std::string const& source : options_.sources) {
            input.source = source;
            refuse_input_as_output(input, options_.output);
        }
        refuse_two_readers_of_standard_input();
        for (std::string const& source : options_.sources) {
            input.source = source;
            sources_.push_back(std::make_unique<MergeSource>(input, messages_, bar_));
            sources_.back()->report().is_one_of_several(
                source, [this](ProgressBar& shown) { show(shown); });
        }
        result_ = std::make_unique<RecordingAssembly>(options_.output, messages_);
    }

    ExitStatus run() {
        while (MergeSource* const earliest = take_earliest()) {
            if (result_->frames() > 0 && earliest->timestamp() < last_timestamp_) ++steps_back_;
            last_timestamp_ = earliest->timestamp();
            result_->add(earliest->frame(), earliest->origin(), earliest->report());
            if (options_.once) pass_over_repetitions(*earliest);
            earliest->advance();
        }
        result_->finish();
        return report();
    }

private:
    using State = MergeSource::State;

    void refuse_two_readers_of_standard_input() const {
        if (std::count(options_.sources.begin(), options_.sources.end(), "-") > 1) {
            throw Kit::UsageError("standard input can be one source only");
        }
    }

    /** The source with the earliest frame, the first one of several; null at the end of all. */
    MergeSource* take_earliest() {
        MergeSource* earliest = find_earliest();
        while (earliest != nullptr && earliest->state() == State::kWaiting) {
            earliest->open();
            earliest = find_earliest();
        }
        return earliest;
    }

    MergeSource* find_earliest() const {
        MergeSource* earliest = nullptr;
        for (auto const& source : sources_) {
            if (source->state() == State::kEnded) continue;
            if (source->state() == State::kWaiting && was_interrupted()) continue;
            // Of two that begin at one time, the one that waits may have an earlier frame.
            if (earliest == nullptr || source->timestamp() < earliest->timestamp()) {
                earliest = source.get();
            }
        }
        return earliest;
    }

    void pass_over_repetitions(MergeSource const& written) {
        for (auto const& source : sources_) {
            if (source.get() == &written) continue;
            while (source->state() == State::kWaiting &&
                   source->timestamp() <= written.timestamp() && !was_interrupted()) {
                source->open();
            }
            if (source->state() != State::kAtFrame) continue;
            if (!same_frame(source->frame(), written.frame())) continue;
            ++repetitions_;
            source->advance();
        }
    }

    void show(ProgressBar& shown) const {
        uint64_t done = 0;
        uint64_t total = 0;
        for (auto const& source : sources_) {
            done += source->bytes_done();
            total += source->bytes_total();
        }
        shown.update(done, total);
    }

    ExitStatus report() {
        bar_.clear();
        ExitStatus status = ExitStatus::kOk;
        bool interrupted = false;
        for (auto const& source : sources_) {
            if (source->report().finish() != ExitStatus::kOk) status = ExitStatus::kDamaged;
            interrupted = interrupted || (source->is_interrupted() && !source->is_endless());
        }
        if (repetitions_ > 0) {
            messages_.note(fmt::format("frames that several sources have, written once: {} skipped",
                                       repetitions_));
        }
        if (steps_back_ > 0) {
            messages_.note(
                fmt::format("frames that are earlier than the one before them in their source: {}",
                            steps_back_));
        }
        if (interrupted) {
            messages_.warn(fmt::format("interrupted after {} frames", result_->frames()));
            return ExitStatus::kDamaged;
        }
        if (result_->frames() == 0) throw Kit::InputError("the sources have no frame");
        return status;
    }

    Options const& options_;
    Messages const& messages_;
    ProgressBar bar_{ProgressBar::Use::kWherePossible};
    std::vector<std::unique_ptr<MergeSource>> sources_;
    std::unique_ptr<RecordingAssembly> result_;
    uint64_t last_timestamp_ = 0;
    uint64_t steps_back_ = 0;
    uint64_t repetitions_ = 0;
};

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser
        .add_arguments("SOURCE", options->sources,
                       "Files, directories of one recorder's files, - for standard input, or "
                       "unix:PATH, a live stream")
        .require();
    parser.add_text("--recorder", options->recorder, "NAME",
                    "Of directories with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)");
    add_output_options(parser, options->output, "the recording");
    parser.add_flag("--once", options->once,
                    "Write a frame that several sources have, with the same bytes, once");
    return [options](Console& console) { return Merge(*options, console).run(); };
}

}  // namespace

Verb merge_verb() {
    return {"merge",
            "Make one recording of several",
            {{"merge morning.data evening.data -o day.data", "two recordings, in order of time"},
             {"merge --once /media/card1 /media/card2 -o all.data",
              "two copies of a card, neither of which is complete"}},
            "Frames are kept byte for byte, in order of their times; frames of one time in\n"
            "order of the sources. The header is that of the earliest frame's recording.\n"
            "Where another one's height, tilt or sensitivity differ, that is reported, and the\n"
            "exit status is 3. The records have to be one recorder's.",
            declare};
}

}  // namespace Tools
