#include "tools/diff/diff.h"

#include <fmt/core.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/diff/alignment.h"
#include "tools/diff/comparison.h"
#include "tools/diff/report.h"
#include "tools/input/open.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    std::string a;
    std::string b;
    std::string recorder;
    std::vector<std::string> tolerances;
    std::string format = "text";
    bool brief = false;
};

std::unique_ptr<FrameInput> open_source(std::string const& source, Options const& options) {
    SourceOptions input;
    input.source = source;
    input.recorder = options.recorder;
    return open_frame_input(input);
}

Tolerances read_tolerances(Options const& options) {
    Tolerances tolerances;
    for (std::string const& text : options.tolerances) tolerances.add(text);
    return tolerances;
}

/** A source. */
struct Side {
    Side(std::unique_ptr<FrameInput> opened, Messages const& messages, ProgressBar& bar)
        : input(std::move(opened)), damage(messages, bar), frames(*input, damage) {}

    std::unique_ptr<FrameInput> input;
    DamageReport damage;
    FrameLookAhead frames;
};

/** A comparison under way. */
class Diff {
public:
    Diff(Options const& options, Console& console)
        : options_(options),
          messages_(console.messages),
          tolerances_(read_tolerances(options_)),
          a_(open_source(options_.a, options_), messages_, bar_),
          b_(open_source(options_.b, options_), messages_, bar_),
          report_(
              options_.format == "json"
                  ? make_json_diff_report(console.out, options_.a, options_.b, options_.brief)
                  : make_text_diff_report(console.out, options_.a, options_.b, options_.brief)) {
        const auto show = [this](ProgressBar& shown) {
            shown.update(a_.input->bytes_done() + b_.input->bytes_done(),
                         a_.input->bytes_total() + b_.input->bytes_total());
        };
        a_.damage.is_one_of_several(options_.a, show);
        b_.damage.is_one_of_several(options_.b, show);
    }

    ExitStatus run() {
        a_.frames.advance();
        b_.frames.advance();
        compare_headers();
        FrameAlignment alignment(a_.frames, b_.frames, tolerances_);
        // What comes behind Ctrl-C in one of them is not missing in the other.
        for (auto step = alignment.next(); step != FrameAlignment::Step::kEnd && !is_interrupted();
             step = alignment.next()) {
            take(step);
        }
        sum_.interrupted = is_interrupted();
        report_->finish(sum_);
        return judge();
    }

private:
    using Step = FrameAlignment::Step;

    bool is_interrupted() const { return a_.input->is_interrupted() || b_.input->is_interrupted(); }

    void take(Step step) {
        if (step == Step::kOnlyA) {
            ++sum_.only_in_a;
            report_->frame_only_in_a(a_.frames.front());
        } else if (step == Step::kOnlyB) {
            ++sum_.only_in_b;
            report_->frame_only_in_b(b_.frames.front());
        } else {
            compare();
        }
        if (step != Step::kOnlyB) a_.frames.advance();
        if (step != Step::kOnlyA) b_.frames.advance();
    }

    void compare() {
        const InputFrame frame_a = a_.frames.front();
        const InputFrame frame_b = b_.frames.front();
        report_->begin_frames(frame_a, frame_b);
        ++sum_.compared;
        if (!compare_frames(frame_a, frame_b, tolerances_, *report_)) ++sum_.differing;
    }

    void compare_headers() {
        auto const& a = a_.frames.header();
        auto const& b = b_.frames.header();
        if (!a || !b) return;
        compare_header("height", a->height, b->height);
        compare_header("tilt", a->tilt, b->tilt);
        compare_header("sensitivity", a->sensitivity, b->sensitivity);
    }

    void compare_header(std::string const& field, double value_a, double value_b) {
        const std::string text_a = fmt::format("{:.17g}", value_a);
        const std::string text_b = fmt::format("{:.17g}", value_b);
        if (text_a == text_b) return;
        ++sum_.header_fields;
        report_->header_differs(field, text_a, text_b);
    }

    ExitStatus judge() {
        ExitStatus status = ExitStatus::kOk;
        for (Side* const side : {&a_, &b_}) {
            if (side->damage.finish(*side->input) != ExitStatus::kOk) status = ExitStatus::kDamaged;
        }
        if (sum_.is_equal()) return status;
        messages_.warn(text_of(sum_, options_.a, options_.b));
        return ExitStatus::kDamaged;
    }

    Options const& options_;
    Messages const& messages_;
    ProgressBar bar_{ProgressBar::Use::kNotBesideData};
    Tolerances tolerances_;
    Side a_;
    Side b_;
    std::unique_ptr<DiffReport> report_;
    DiffSum sum_;
};

ExitStatus run_diff(Options const& options, Console& console) {
    if (options.a == "-" && options.b == "-") {
        throw Kit::UsageError("standard input can be one source only");
    }
    return Diff(options, console).run();
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    constexpr char kSource[] = "A file, a directory of one recorder's files, -, or unix:PATH";
    parser.add_argument("A", options->a, kSource).require();
    parser.add_argument("B", options->b, "What it is compared with, in the same way").require();
    parser.add_text("--recorder", options->recorder, "NAME",
                    "Of directories with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)");
    parser.add_texts("--tolerance", options->tolerances, "LIST",
                     "How far values may be apart: 0.001 or 1% for all floats, r=0.01 for one "
                     "field, timestamp=100 (us); several with commas");
    parser.add_choice("--format", options->format, {"text", "json"}, "Print it as");
    parser.add_flag("--brief", options->brief, "Print the totals only");
    return [options](Console& console) { return run_diff(*options, console); };
}

}  // namespace

Verb diff_verb() {
    return {"diff",
            "Compare two recordings frame by frame and target by target",
            {{"diff before.data after.data", "what differs"},
             {"diff --tolerance 0.001,snr=5% before.data after.data",
              "what differs by more than 0.001, or 5 % of the signal-to-noise ratio"},
             {"diff --brief --format json before.data after.data", "how much, for programs"}},
            "Frames of one time are compared, so that a frame that is missing makes no other\n"
            "differ. The exit status is 0 when there is no difference and 3 when there is\n"
            "one, or something is damaged; standard error says which.",
            declare};
}

}  // namespace Tools
