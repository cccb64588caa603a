#include "tools/doctor/doctor.h"

#include <memory>
#include <string>

#include "tools/cli/options.h"
#include "tools/doctor/finding_sum.h"
#include "tools/doctor/findings.h"
#include "tools/doctor/report.h"
#include "tools/input/open.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    std::string format = "text";
};

/** An examination under way. */
class Examination : private InputHandler {
public:
    Examination(Options const& options, Console& console)
        : console_(console),
          formatter_(make_doctor_formatter(options.format, options.input.source, console_.out)),
          findings_([this](DoctorFinding const& finding) {
              sum_.add(finding);
              formatter_->print(finding);
          }) {}

    ExitStatus run(FrameInput& input) {
        formatter_->begin();
        while (input.next(*this)) bar_.update(input.bytes_done(), input.bytes_total());
        findings_.finish();
        const uint64_t frames = findings_.frame_timing().frames();
        const bool interrupted = input.is_interrupted() && !input.is_endless();
        formatter_->end({findings_.files(), frames, sum_.errors(), sum_.warnings(),
                         sum_.skipped_bytes(), interrupted});
        console_.out.flush();
        bar_.clear();
        return sum_.report(console_.messages, frames, interrupted);
    }

private:
    void on_file(Kit::RecordingFile const& file, FileState state) override {
        findings_.on_file(file, state);
    }

    void on_header(Kit::RecordingHeader const& header) override { findings_.on_header(header); }
    void on_frame(InputFrame const& frame) override { findings_.on_frame(frame); }
    void on_finding(Kit::Finding const& finding) override { findings_.on_finding(finding); }

    void on_note(std::string const& note) override {
        bar_.clear();
        console_.messages.note(note);
    }

    Console& console_;
    ProgressBar bar_{ProgressBar::Use::kNotBesideData};
    std::unique_ptr<DoctorFormatter> formatter_;
    FindingSum sum_;
    DoctorFindings findings_;
};

ExitStatus examine(Options const& options, Console& console) {
    SourceOptions input_options = options.input;
    input_options.idle = [&] {
        console.out.flush();
        console.out.check_reader();
    };
    const auto input = open_frame_input(input_options);
    return Examination(options, console).run(*input);
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    parser.add_choice("--format", options->format, {"text", "json", "ndjson"}, "Print it as");
    return [options](Console& console) { return examine(*options, console); };
}

}  // namespace

Verb doctor_verb() {
    return {"doctor",
            "Diagnose a recording",
            {{"doctor radar_150525_093007_042.data", "the defects of a file, and their remedies"},
             {"doctor --format ndjson /var/spool/storage/SD_DISK",
              "the same of all files on the card, for programs"},
             {"doctor - < FSCK0000.REC", "of a file that a repair has brought back"}},
            "Errors are damage and loss: the exit status is 3. Warnings are odd, but what was\n"
            "recorded is there: with nothing else it is 0. recover saves what can be saved.",
            declare};
}

}  // namespace Tools
