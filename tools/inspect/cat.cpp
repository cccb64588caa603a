#include "tools/inspect/cat.h"

#include <memory>
#include <string>
#include <vector>

#include "tools/cli/options.h"
#include "tools/format/fields.h"
#include "tools/format/printer.h"
#include "tools/input/damage_report.h"
#include "tools/input/open.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    std::string format = "text";
    std::string fields;
};

ExitStatus print_frames(Options const& options, Console& console) {
    const auto fields =
        options.fields.empty() ? std::vector<FrameField>() : parse_fields(options.fields);
    FramePrinter printer(frame_format(options.format), console.out, fields);
    if (!options.input.follow) printer.use_threads();
    SourceOptions input_options = options.input;
    input_options.idle = [&] {
        printer.hand_over();
        console.out.flush();
        console.out.check_reader();
    };
    const auto input = open_frame_input(input_options);
    ProgressBar bar(ProgressBar::Use::kNotBesideData);
    DamageReport report(console.messages, bar);
    report.read_frames(*input, [&](InputFrame const& frame) { printer.print(frame); });
    printer.begin();
    printer.hand_over();
    console.out.flush();
    return report.finish(*input);
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    parser.add_choice("--format", options->format, {"text", "ndjson", "csv"}, "Print frames as");
    add_selection_options(parser, options->input.selection);
    parser.add_text(
        "--fields", options->fields, "NAMES",
        "Print only these: frame_index, magic, timestamp, rcs, r, rdot, theta, options, "
        "snr");
    parser.add_flag("--follow", options->input.follow,
                    "Go on with a file that grows, and with those that the recorder begins then");
    return [options](Console& console) { return print_frames(*options, console); };
}

}  // namespace

Verb cat_verb() {
    return {"cat",
            "Print the frames of a recording or a live stream",
            {{"cat radar_150525_093007_042.data | head", "the first frames of a recording"},
             {"cat --format csv --start -10s /tmp > log.csv",
              "the last ten seconds of the recordings in /tmp as a detection log"},
             {"cat --format ndjson --fields timestamp,r,rdot --follow /tmp",
              "what is recorded right now, as it comes"}},
            "Formats: text (protobuf's debug text), ndjson (one object a frame) or csv (one row\n"
            "a target, in the form of detection logs; a frame without targets has no row).\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
