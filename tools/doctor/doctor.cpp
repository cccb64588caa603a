#include "tools/doctor/doctor.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/cli/options.h"
#include "tools/doctor/finding_sum.h"
#include "tools/doctor/findings.h"
#include "tools/doctor/report.h"
#include "tools/input/frame_input.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    InputOptions input;
    std::string format = "text";
};

ExitStatus examine(Options const& options, Console& console) {
    InputOptions input_options = options.input;
    input_options.idle = [&] {
        console.out.flush();
        console.out.check_reader();
    };
    const auto input = open_frame_input(input_options);
    ProgressBar bar(ProgressBar::Use::kNotBesideData);
    const auto form = make_doctor_form(options.format, options.input.source, console.out);
    FindingSum sum;
    DoctorFindings findings([&](DoctorFinding const& finding) {
        sum.add(finding);
        form->print(finding);
    });
    form->begin();
    while (input->next()) {
        bar.update(input->bytes_done(), input->bytes_total());
        if (input->item() == FrameInput::Item::kNote) {
            bar.clear();
            console.messages.note(input->note());
        }
        findings.add(*input);
    }
    findings.finish();
    const bool interrupted = input->was_cut_short() && !input->is_endless();
    form->end({findings.files(), findings.frame_timing().frames(), sum.errors(), sum.warnings(),
               sum.skipped_bytes(), interrupted});
    console.out.flush();
    bar.clear();
    return sum.tell(console.messages, findings.frame_timing().frames(), interrupted);
}

Run declare(CLI::App& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    add_choice(parser, "--format", options->format, {"text", "json", "ndjson"}, "Print it as");
    return [options](Console& console) { return examine(*options, console); };
}

}  // namespace

Verb doctor_verb() {
    return {"doctor",
            "Find what is wrong with a recording",
            {{"doctor radar_150525_093007_042.data", "what is wrong with a file, and what to do"},
             {"doctor --format ndjson /var/spool/storage/SD_DISK",
              "the same of all files on the card, for programs"},
             {"doctor - < FSCK0000.REC", "of a file that a repair has brought back"}},
            "Errors are damage and loss: the exit status is 3. Warnings are odd, but what was\n"
            "recorded is there: with nothing else it is 0. recover saves what can be saved.",
            declare};
}

}  // namespace Tools
