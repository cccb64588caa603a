#include "tools/convert/cut.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "kit/base/input_error.h"
#include "tools/convert/assembly.h"
#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"
#include "tools/output/destination.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    InputOptions input;
    OutputOptions output;
};

ExitStatus cut(Options const& options, Console& console) {
    refuse_input_as_output(options.input, options.output);
    const auto input = open_frame_input(options.input);
    RecordingAssembly part(options.output, console.messages);
    ProgressBar bar(ProgressBar::Use::kWherePossible);
    DamageReport report(console.messages, bar);
    CurrentHeader header;
    while (report.next(*input)) {
        header.add(*input);
        if (input->item() == FrameInput::Item::kFrame) part.add(*input, header.get(), report);
    }
    part.finish();
    const ExitStatus status = report.finish(*input);
    if (part.frames() == 0 && !input->was_cut_short()) {
        throw Kit::InputError(options.input.source + ": has no frame in this part");
    }
    return status;
}

Run declare(CLI::App& parser) {
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
            "height, tilt or sensitivity differ, that is told, and the exit status is 3.\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
