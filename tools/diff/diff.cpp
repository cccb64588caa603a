#include "tools/diff/diff.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/options.h"
#include "tools/cli/usage_error.h"
#include "tools/diff/alignment.h"
#include "tools/diff/comparison.h"
#include "tools/diff/report.h"
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

std::string number_text(double value) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.17g", value);
    return text.data();
}

std::unique_ptr<FrameInput> open_source(std::string const& source, Options const& options) {
    InputOptions input;
    input.source = source;
    input.recorder = options.recorder;
    return open_frame_input(input);
}

Tolerances read_tolerances(Options const& options) {
    Tolerances tolerances;
    for (std::string const& text : options.tolerances) tolerances.add(text);
    return tolerances;
}

/** A source, with its first header. */
struct Side {
    Side(std::unique_ptr<FrameInput> input_, Messages const& messages, ProgressBar& bar)
        : input(std::move(input_)), damage(messages, bar), frames(*input, damage) {
        frames.on_header = [this](Kit::RecordingHeader const& found) {
            if (!header) header = found;
        };
    }

    std::unique_ptr<FrameInput> input;
    DamageReport damage;
    FrameQueue frames;
    std::optional<Kit::RecordingHeader> header;
};

/** A comparison under way. */
class Diff {
public:
    Diff(Options const& options_, Console& console)
        : options(options_),
          messages(console.messages),
          tolerances(read_tolerances(options)),
          a(open_source(options.a, options), messages, bar),
          b(open_source(options.b, options), messages, bar),
          report(options.format == "json"
                     ? make_json_diff_report(console.out, options.a, options.b, options.brief)
                     : make_text_diff_report(console.out, options.a, options.b, options.brief)) {
        const auto show = [this](ProgressBar& shown) {
            shown.update(a.input->bytes_done() + b.input->bytes_done(),
                         a.input->bytes_total() + b.input->bytes_total());
        };
        a.damage.is_one_of_several(options.a, show);
        b.damage.is_one_of_several(options.b, show);
    }

    ExitStatus run() {
        a.frames.advance();
        b.frames.advance();
        compare_headers();
        FrameAlignment alignment(a.frames, b.frames, tolerances);
        // What comes behind Ctrl-C in one of them is not missing in the other.
        for (auto step = alignment.next(); step != FrameAlignment::Step::kEnd && !is_cut_short();
             step = alignment.next()) {
            take(step);
        }
        sum.interrupted = is_cut_short();
        report->finish(sum);
        return judge();
    }

private:
    using Step = FrameAlignment::Step;

    bool is_cut_short() const { return a.input->was_cut_short() || b.input->was_cut_short(); }

    void take(Step step) {
        if (step == Step::kOnlyA) {
            ++sum.only_in_a;
            report->frame_only_in_a(a.frames.front());
        } else if (step == Step::kOnlyB) {
            ++sum.only_in_b;
            report->frame_only_in_b(b.frames.front());
        } else {
            compare();
        }
        if (step != Step::kOnlyB) a.frames.advance();
        if (step != Step::kOnlyA) b.frames.advance();
    }

    void compare() {
        const InputFrame frame_a = a.frames.front();
        const InputFrame frame_b = b.frames.front();
        report->begin_frames(frame_a, frame_b);
        ++sum.compared;
        if (!compare_frames(frame_a, frame_b, tolerances, *report)) ++sum.differing;
    }

    void compare_headers() {
        if (!a.header || !b.header) return;
        compare_header("height", a.header->height, b.header->height);
        compare_header("tilt", a.header->tilt, b.header->tilt);
        compare_header("sensitivity", a.header->sensitivity, b.header->sensitivity);
    }

    void compare_header(std::string const& field, double value_a, double value_b) {
        const std::string text_a = number_text(value_a);
        const std::string text_b = number_text(value_b);
        if (text_a == text_b) return;
        ++sum.header_fields;
        report->header_differs(field, text_a, text_b);
    }

    ExitStatus judge() {
        ExitStatus status = ExitStatus::kOk;
        for (Side* const side : {&a, &b}) {
            if (side->damage.finish(*side->input) != ExitStatus::kOk) status = ExitStatus::kDamaged;
        }
        if (sum.is_equal()) return status;
        messages.warn(text_of(sum, options.a, options.b));
        return ExitStatus::kDamaged;
    }

    Options const& options;
    Messages const& messages;
    ProgressBar bar{ProgressBar::Use::kNotBesideData};
    Tolerances tolerances;
    Side a;
    Side b;
    std::unique_ptr<DiffReport> report;
    DiffSum sum;
};

ExitStatus run_diff(Options const& options, Console& console) {
    if (options.a == "-" && options.b == "-") {
        throw UsageError("standard input can be one source only");
    }
    return Diff(options, console).run();
}

Run declare(CLI::App& parser) {
    const auto options = std::make_shared<Options>();
    constexpr char kSource[] = "A file, a directory of one recorder's files, -, or unix:PATH";
    parser.add_option("A", options->a, kSource)->required();
    parser.add_option("B", options->b, "What it is compared with, in the same way")->required();
    parser
        .add_option("--recorder", options->recorder,
                    "Of directories with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)")
        ->type_name("NAME");
    parser
        .add_option("--tolerance", options->tolerances,
                    "How far values may be apart: 0.001 or 1% for all floats, r=0.01 for one "
                    "field, timestamp=100 (us); several with commas")
        ->type_name("LIST")
        ->allow_extra_args(false);
    add_choice(parser, "--format", options->format, {"text", "json"}, "Print it as");
    parser.add_flag("--brief", options->brief, "Print the sum only");
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
