#include "tools/convert/export.h"

#include <memory>
#include <string>

#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/convert/frame_export.h"
#include "tools/input/damage_report.h"
#include "tools/input/open.h"
#include "tools/output/destination.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    OutputOptions output;
    std::string format;
};

std::string format_of(Options const& options) {
    if (!options.format.empty()) return options.format;
    std::string format = export_format_of(options.output.path);
    if (format.empty()) {
        throw Kit::UsageError(options.output.path +
                              ": the name does not end with a format's; --format says which");
    }
    return format;
}

ExitStatus export_frames(Options const& options, Console& console) {
    const std::string format = format_of(options);
    refuse_input_as_output(options.input, options.output);
    const auto input = open_frame_input(options.input);
    OutputFile file(options.output.path, options.output.force);
    const auto frames = make_frame_export(format, file);
    ProgressBar bar(ProgressBar::Use::kWherePossible);
    DamageReport report(console.messages, bar);
    report.read_all(*input, *frames);
    frames->finish();
    file.finish();
    if (!frames->loss().empty()) report.add_loss(file.path() + ": " + frames->loss());
    return report.finish(*input);
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    add_output_options(parser, options->output, "the result");
    parser.add_choice("--format", options->format, export_format_names(),
                      "What to write, whatever the file's name");
    add_selection_options(parser, options->input.selection);
    return [options](Console& console) { return export_frames(*options, console); };
}

}  // namespace

Verb export_verb() {
    return {"export",
            "Bring a recording into a table, JSON or an MCAP file",
            {{"export radar_150525_093007_042.data -o walk.mcap",
              "for viewers of robots' data; the schema is in the file"},
             {"export /var/spool/storage/SD_DISK -o all.csv",
              "everything on the card as a detection log"},
             {"export unix:/run/radar.sock -o live.ndjson",
              "what a running service sends, until Ctrl-C"}},
            "The format is the end of the file's name: csv (one row a target), ndjson (one\n"
            "object a frame) or mcap (the frames as they were recorded, with their schema).\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
