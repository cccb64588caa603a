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
        if (update) {
            update(bar);
        } else {
            bar.update(input.bytes_done(), input.bytes_total());
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
            has_content = true;
            break;
        case FrameInput::Item::kFrame:
            has_content = true;
            ++frames;
            break;
        case FrameInput::Item::kFinding:
            use(input.file().path, input.finding());
            break;
        case FrameInput::Item::kNote:
            tell_pending();
            bar.clear();
            messages.note(input.note());
            break;
    }
}

void DamageReport::use(std::string const& file, Kit::Finding const& finding) {
    if (finding.kind == FindingKind::kSkipped) {
        skipped += finding.length;
        if (!pending.empty()) pending += "; " + finding.text;
        return;
    }
    tell_pending();
    const std::string text =
        file + ": offset " + std::to_string(finding.offset) + ": " + finding.text;
    if (is_loss(finding.kind)) {
        if (first.empty()) first = file + ": " + finding.text;
        ++places;
    }
    if (places > kMostTold) {
        ++untold;
    } else {
        pending = text;
    }
}

void DamageReport::add_loss(std::string const& what) {
    ++places;
    tell_pending();
    pending = what;
}

void DamageReport::tell_pending() {
    if (pending.empty()) return;
    bar.clear();
    messages.warn(std::exchange(pending, ""));
}

/** A source with nothing of a recording in it is no damaged recording. */
void DamageReport::check_content(FrameInput const& input) {
    if (has_content || first.empty() || input.was_cut_short()) return;
    pending.clear();
    bar.clear();
    throw Kit::InputError(first);
}

ExitStatus DamageReport::finish(FrameInput const& input) {
    const ExitStatus status = finish();
    if (!input.was_cut_short() || input.is_endless()) return status;
    messages.warn(source + "interrupted after " + counted(frames, "frame"));
    return ExitStatus::kDamaged;
}

ExitStatus DamageReport::finish() {
    tell_pending();
    bar.clear();
    if (untold > 0) messages.warn(source + "and " + counted(untold, "place") + " more");
    if (places > 1 || untold > 0) {
        messages.warn(source + counted(places, "damaged place") + ", " + counted(skipped, "byte") +
                      " skipped");
    }
    return places > 0 ? ExitStatus::kDamaged : ExitStatus::kOk;
}

}  // namespace Tools
