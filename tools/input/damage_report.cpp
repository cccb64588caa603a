#include "tools/input/damage_report.h"

#include <fmt/core.h>

#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"

namespace Tools {

namespace {

using Kit::FindingKind;

/** Places that are reported one by one; a file of noise has millions. */
constexpr uint64_t kMostReported = 20;

/** Whether frames are missing, or may be. */
bool is_loss(FindingKind kind) {
    return Kit::is_damage(kind) || kind == FindingKind::kFrameCount;
}

}  // namespace

/** Delivers each item to the report and then to the verb. */
class DamageReport::Both final : public InputHandler {
public:
    Both(InputHandler& first, InputHandler& second) : first_(first), second_(second) {}

    void on_file(Kit::RecordingFile const& file, FileState state) override {
        first_.on_file(file, state);
        second_.on_file(file, state);
    }

    void on_header(Kit::RecordingHeader const& header) override {
        first_.on_header(header);
        second_.on_header(header);
    }

    void on_frame(InputFrame const& frame) override {
        first_.on_frame(frame);
        second_.on_frame(frame);
    }

    void on_finding(Kit::Finding const& finding) override {
        first_.on_finding(finding);
        second_.on_finding(finding);
    }

    void on_note(std::string const& note) override {
        first_.on_note(note);
        second_.on_note(note);
    }

private:
    InputHandler& first_;
    InputHandler& second_;
};

/** Calls a function with every frame. What else there is, the report has seen. */
class DamageReport::Frames final : public InputHandler {
public:
    explicit Frames(std::function<void(InputFrame const&)> const& use) : use_(use) {}

    void on_file(Kit::RecordingFile const&, FileState) override {}
    void on_header(Kit::RecordingHeader const&) override {}
    void on_frame(InputFrame const& frame) override { use_(frame); }
    void on_finding(Kit::Finding const&) override {}
    void on_note(std::string const&) override {}

private:
    std::function<void(InputFrame const&)> const& use_;
};

bool DamageReport::next(FrameInput& input, InputHandler& handler) {
    Both both(*this, handler);
    if (input.next(both)) {
        update_bar(input);
        return true;
    }
    check_content(input);
    return false;
}

void DamageReport::read_all(FrameInput& input, InputHandler& handler) {
    while (next(input, handler)) {
    }
}

void DamageReport::read_frames(FrameInput& input,
                               std::function<void(InputFrame const&)> const& use) {
    Frames frames(use);
    read_all(input, frames);
}

void DamageReport::update_bar(FrameInput const& input) {
    if (update_) {
        update_(bar_);
    } else {
        bar_.update(input.bytes_done(), input.bytes_total());
    }
}

void DamageReport::on_file(Kit::RecordingFile const& file, FileState) {
    file_ = file.path;
}

void DamageReport::on_header(Kit::RecordingHeader const&) {
    has_content_ = true;
}

void DamageReport::on_frame(InputFrame const&) {
    has_content_ = true;
    ++frames_;
}

void DamageReport::on_finding(Kit::Finding const& finding) {
    if (finding.kind == FindingKind::kSkipped) {
        skipped_ += finding.length;
        if (!pending_.empty()) pending_ += "; " + finding.text;
        return;
    }
    report_pending();
    if (is_loss(finding.kind)) {
        if (first_.empty()) first_ = file_ + ": " + finding.text;
        ++places_;
    }
    if (places_ > kMostReported) {
        ++unreported_;
    } else {
        pending_ = fmt::format("{}: offset {}: {}", file_, finding.offset, finding.text);
    }
}

void DamageReport::on_note(std::string const& note) {
    report_pending();
    bar_.clear();
    messages_.note(note);
}

void DamageReport::add_loss(std::string const& what) {
    ++places_;
    report_pending();
    pending_ = what;
}

void DamageReport::report_pending() {
    if (pending_.empty()) return;
    bar_.clear();
    messages_.warn(std::exchange(pending_, ""));
}

/** A source with nothing of a recording in it is no damaged recording. */
void DamageReport::check_content(FrameInput const& input) {
    if (has_content_ || first_.empty() || input.is_interrupted()) return;
    pending_.clear();
    bar_.clear();
    throw Kit::InputError(first_);
}

ExitStatus DamageReport::finish(FrameInput const& input) {
    const ExitStatus status = finish();
    if (!input.is_interrupted() || input.is_endless()) return status;
    messages_.warn(source_ + "interrupted after " + Kit::count_text(frames_, "frame"));
    return ExitStatus::kDamaged;
}

ExitStatus DamageReport::finish() {
    report_pending();
    bar_.clear();
    if (unreported_ > 0)
        messages_.warn(source_ + "and " + Kit::count_text(unreported_, "place") + " more");
    if (places_ > 1 || unreported_ > 0) {
        messages_.warn(source_ + Kit::count_text(places_, "damaged place") + ", " +
                       Kit::count_text(skipped_, "byte") + " skipped");
    }
    return places_ > 0 ? ExitStatus::kDamaged : ExitStatus::kOk;
}

}  // namespace Tools
