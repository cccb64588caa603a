#include "tools/convert/cut.h"

#include <memory>

#include "kit/base/input_error.h"
#include "tools/convert/assembly.h"
#include "tools/input/damage_report.h"
#include "tools/input/open.h"
#include "tools/output/destination.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    OutputOptions output;
};

/** Copies the frames of an input into a recording. */
class PartWriter : public InputHandler {
public:
    PartWriter(OutputOptions const& output, Messages const& messages, DamageReport& report)
        : recording_(output, messages), report_(report) {}

    void finish() { recording_.finish(); }

    uint64_t frames() const { return recording_.frames(); }

private:
    void on_file(Kit::RecordingFile const& file, FileState) override { origin_ = {file.path, {}}; }
    void on_header(Kit::RecordingHeader const& header) override { origin_.header = header; }
    void on_frame(InputFrame const& frame) override { recording_.add(frame, origin_, report_); }
    void on_finding(Kit::Finding const&) override {}  // reported
    void on_note(std::string const&) override {}      // likewise

    RecordingAssembly recording_;
    DamageReport& report_;
    FrameOrigin origin_;
};

ExitStatus cut(Options const& options, Console& console) {
    refuse_input_as_output(options.input, options.output);
    const auto input = open_frame_input(options.input);
    ProgressBar bar(ProgressBar::Use::kWherePossible);
    DamageReport report(console.messages, bar);
    PartWriter part(options.output, console.messages, report);
    report.read_all(*input, part);
    part.finish();
    const ExitStatus status = report.finish(*input);
    if (part.frames() == 0 && !input->is_interrupted()) {
        throw Kit::InputError(options.input.source + ": has no frame in this part");
    }
    return status;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    add_output_options(parser, options->output, "the part");
    add_selection_options(parser, options->input.selection);
    return [options](Console& console) { return cut(*options, console); };
}

}  // namespace

Verb cut_verb() {
    return {"cut",
            "Make a recording of a part of another",
            {{"cut --start +60s --end +90s day.data -o walk.data", "half a minute of a recording"},
             {"cut --start 2025-05-15T09:30Z --end 2025-05-15T09:31Z /tmp -o a.data",
              "what the recordings in /tmp have of a minute"},
             {"cut --frames 100-199 day.data -o part.data", "a hundred frames"}},
            "Frames are kept byte for byte. The header is that of the first frame's file; its\n"
            "start moves to that frame where the frame's time tells it. Where another file's\n"
            "height, tilt or sensitivity differ, that is reported, and the exit status is 3.\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
