#include "tools/inspect/info.h"

#include <memory>
#include <string>

#include "tools/cli/options.h"
#include "tools/input/damage_report.h"
#include "tools/input/open.h"
#include "tools/inspect/info_text.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    std::string format = "text";
};

ExitStatus print_info(Options const& options, Console& console) {
    const SourceName source = parse_source_name(options.input.source);
    const auto input = open_frame_input(options.input);
    ProgressBar bar(ProgressBar::Use::kWherePossible);
    DamageReport report(console.messages, bar);
    SourceSurvey survey(*input);
    report.read_all(*input, survey);
    survey.finish();
    const ExitStatus status = report.finish(*input);
    console.out.write(options.format == "json" ? info_json(source, survey, input->is_interrupted())
                                               : info_text(source, survey));
    return status;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    parser.add_choice("--format", options->format, {"text", "json"}, "Print it as");
    return [options](Console& console) { return print_info(*options, console); };
}

}  // namespace

Verb info_verb() {
    return {"info",
            "Tell what there is to know of a recording",
            {{"info radar_150525_093007_042.data", "header, size, rate and condition of a file"},
             {"info --format json /var/spool/storage/SD_DISK",
              "the same of all files on the card, for programs"}},
            "Gaps are times without a frame that are much longer than nine of ten are. The exit\n"
            "status is 3 when anything is damaged; doctor tells more about that.",
            declare};
}

}  // namespace Tools
