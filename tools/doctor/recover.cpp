#include "tools/doctor/recover.h"

#include <memory>
#include <string>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/cli/source_name.h"
#include "tools/doctor/finding_sum.h"
#include "tools/doctor/findings.h"
#include "tools/doctor/recover_report.h"
#include "tools/doctor/recovery.h"
#include "tools/input/open.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

struct Options {
    SourceOptions input;
    std::string directory;
    bool force = false;
    std::string format = "text";
};

/** Of a source in which there is nothing to save. */
[[noreturn]] void fail(std::string const& first_error) {
    throw Kit::InputError("nothing can be saved" + (first_error.empty() ? "" : ": " + first_error));
}

/** A recovery under way: what is read goes to the doctor and to what is written. */
class Work : private InputHandler {
public:
    Work(Options const& options, Console& console)
        : console_(console),
          report_(options.format, options.input.source, console_.out),
          findings_([this](DoctorFinding const& finding) { use(finding); }),
          recovery_(options.directory, options.force,
                    [this](SavedRecording const& saved) { add(saved); }) {}

    ExitStatus run(FrameInput& input) {
        while (input.next(*this)) bar_.update(input.bytes_done(), input.bytes_total());
        findings_.finish();
        recovery_.finish();
        bar_.clear();
        if (report_.recordings() == 0 && !input.is_interrupted()) fail(first_error_);
        report_.finish(input.is_interrupted());
        return judge(input.is_interrupted());
    }

private:
    void on_file(Kit::RecordingFile const& file, FileState state) override {
        if (state == FileState::kBeingWritten) {
            note(file.path + ": being written: what exists so far is saved");
        }
        findings_.on_file(file, state);
        recovery_.on_file(file, state);
    }

    void on_header(Kit::RecordingHeader const& header) override {
        findings_.on_header(header);
        recovery_.on_header(header);
    }

    void on_frame(InputFrame const& frame) override {
        findings_.on_frame(frame);
        recovery_.on_frame(frame);
    }

    void on_finding(Kit::Finding const& finding) override {
        findings_.on_finding(finding);
        recovery_.on_finding(finding);
    }

    void on_note(std::string const& text) override {
        note(text);
        recovery_.on_note(text);
    }

    void note(std::string const& text) {
        bar_.clear();
        console_.messages.note(text);
    }

    /** What has been saved is there, and told, whatever goes wrong later. */
    void add(SavedRecording const& saved) {
        report_.add(saved);
        report_.hand_over();
    }

    void use(DoctorFinding const& finding) {
        sum_.add(finding);
        report_.add(finding);
        if (first_error_.empty() && finding.code.severity == Severity::kError) {
            first_error_ = finding.file + ": " + finding.text;
        }
    }

    ExitStatus judge(bool interrupted) const {
        const ExitStatus status =
            sum_.report(console_.messages, findings_.frame_timing().frames(), interrupted);
        if (report_.suspects() == 0) return status;
        console_.messages.warn("judged suspect: " + std::to_string(report_.suspects()));
        return ExitStatus::kDamaged;
    }

    Console& console_;
    ProgressBar bar_{ProgressBar::Use::kNotBesideData};
    RecoverReport report_;
    DoctorFindings findings_;
    Recovery recovery_;
    FindingSum sum_;
    std::string first_error_;
};

ExitStatus recover(Options const& options, Console& console) {
    if (parse_source_name(options.input.source).kind == SourceName::Kind::kLiveStream) {
        throw Kit::UsageError("recover reads recordings, not the live stream " +
                              options.input.source);
    }
    const auto input = open_frame_input(options.input);
    return Work(options, console).run(*input);
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    parser.add_text("-o,--output", options->directory, "DIR", "Where to write the recordings")
        .require();
    parser.add_flag("--force", options->force, "Overwrite existing files");
    parser.add_choice("--format", options->format, {"text", "json"}, "Print the report as");
    return [options](Console& console) { return recover(*options, console); };
}

}  // namespace

Verb recover_verb() {
    return {"recover",
            "Write what can be saved of a recording as complete ones",
            {{"recover radar_150525_093007_042 -o saved", "complete a file that was cut off"},
             {"recover /var/spool/storage/SD_DISK -o saved", "save what there is on a card"},
             {"recover --format json FSCK0000.REC -o saved", "with a report for programs"}},
            "Keeps the bytes of every whole record, and goes on at the next credible one behind\n"
            "damage. Prints what it kept, skipped and judged suspect; records with another tag\n"
            "than their recording's go to DIR/suspect. The exit status is 3 when anything was\n"
            "damaged.",
            declare};
}

}  // namespace Tools
