#include "tools/input/damage_report.h"

#include <utility>

#include "kit/base/input_error.h"
#include "tools/cli/message_text.h"

namespace Tools {

namespace {

using Kit::FindingKind;

/** So many places are told one by one; a file of noise has millions. */
constexpr uint64_t kMostTold = 20;

/** Whether frames are missing, or may be. */
bool is_loss(FindingKind kind) {
    return Kit::is_damage(kind) || kind == FindingKind::kFrameCount;
}

}  // namespace

bool DamageReport::next_frame(FrameInput& input) {
    while (next(input)) {
        if (input.item() == FrameInput::Item::kFrame) return true;
    }
    return false;
}

bool DamageReport::next(FrameInput& input) {
    const bool goes_on = input.next();
    if (goes_on) {
        if (update_) {
            update_(bar_);
        } else {
            bar_.update(input.bytes_done(), input.bytes_total());
        }
        note(input);
    } else {
        check_content(input);
    }
    return goes_on;
}

void DamageReport::note(FrameInput const& input) {
    switch (input.item()) {
        case FrameInput::Item::kFile:
            break;
        case FrameInput::Item::kHeader:
            has_content_ = true;
            break;
        case FrameInput::Item::kFrame:
            has_content_ = true;
            ++frames_;
            break;
        case FrameInput::Item::kFinding:
            use(input.file().path, input.finding());
            break;
        case FrameInput::Item::kNote:
            tell_pending();
            bar_.clear();
            messages_.note(input.note());
            break;
    }
}

void DamageReport::use(std::string const& file, Kit::Finding const& finding) {
    if (finding.kind == FindingKind::kSkipped) {
        skipped_ += finding.length;
        if (!pending_.empty()) pending_ += "; " + finding.text;
        return;
    }
    tell_pending();
    const std::string text =
        file + ": offset " + std::to_string(finding.offset) + ": " + finding.text;
    if (is_loss(finding.kind)) {
        if (first_.empty()) first_ = file + ": " + finding.text;
        ++places_;
    }
    if (places_ > kMostTold) {
        ++untold_;
    } else {
        pending_ = text;
    }
}

void DamageReport::add_loss(std::string const& what) {
    ++places_;
    tell_pending();
    pending_ = what;
}

void DamageReport::tell_pending() {
    if (pending_.empty()) return;
    bar_.clear();
    messages_.warn(std::exchange(pending_, ""));
}

/** A source with nothing of a recording in it is no damaged recording. */
void DamageReport::check_content(FrameInput const& input) {
    if (has_content_ || first_.empty() || input.was_cut_short()) return;
    pending_.clear();
    bar_.clear();
    throw Kit::InputError(first_);
}

ExitStatus DamageReport::finish(FrameInput const& input) {
    const ExitStatus status = finish();
    if (!input.was_cut_short() || input.is_endless()) return status;
    messages_.warn(source_ + "interrupted after " + counted(frames_, "frame"));
    return ExitStatus::kDamaged;
}

ExitStatus DamageReport::finish() {
    tell_pending();
    bar_.clear();
    if (untold_ > 0) messages_.warn(source_ + "and " + counted(untold_, "place") + " more");
    if (places_ > 1 || untold_ > 0) {
        messages_.warn(source_ + counted(places_, "damaged place") + ", " +
                       counted(skipped_, "byte") + " skipped");
    }
    return places_ > 0 ? ExitStatus::kDamaged : ExitStatus::kOk;
}

}  // namespace Tools
