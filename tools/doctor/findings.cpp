#include "tools/doctor/findings.h"

#include <fmt/core.h>

#include <utility>

#include "tools/cli/time_text.h"
#include "tools/doctor/zeroed_sector.h"

namespace Tools {

namespace {

using Kit::FindingKind;

/** So much of two frames is compared. */
constexpr size_t kCompared = 64 * 1024;

std::string length_of(uint64_t us) {
    return duration_text(static_cast<double>(us));
}

/** Whether the records may be there and only be unreadable from this place on. */
bool can_be_zeroed(FindingKind kind) {
    switch (kind) {
        case FindingKind::kNotARecording:
        case FindingKind::kRawData:
        case FindingKind::kWrongTag:
        case FindingKind::kZeros:
        case FindingKind::kTooLong:
        case FindingKind::kUndecodable:
            return true;
        default:
            return false;
    }
}

}  // namespace

void DoctorFindings::finish() {
    settle(false);
    report_gaps();
}

void DoctorFindings::on_file(Kit::RecordingFile const& file, FileState state) {
    settle(false);
    file_ = file;
    header_seen_ = false;
    ++file_count_;
    if (state == FileState::kUnfinished) {
        report("unfinished", file_.size, "its recorder has not completed it, and writes no more");
    }
}

void DoctorFindings::on_header(Kit::RecordingHeader const& header) {
    settle(true);
    if (!std::exchange(header_seen_, true) && file_.name) check_name(header);
}

/** The time in a name is local, and of the zone nothing is known but what zones there can be. */
void DoctorFindings::check_name(Kit::RecordingHeader const& header) {
    constexpr int64_t kHour = 3600;
    const int64_t ahead = Kit::begin_as_utc(*file_.name) - header.seconds;
    if (ahead % (kHour / 4) == 0 && ahead >= -12 * kHour && ahead <= 14 * kHour) return;
    report("name", 8,
           "the name's time is not " + utc_text_of_seconds(header.seconds) +
               ", which the header says, in any time zone");
}

void DoctorFindings::on_frame(InputFrame const& frame) {
    settle(true);
    if (timing_.frames() > 0 && frame.timestamp < last_timestamp_) {
        report("time-back", frame.offset,
               fmt::format("the time goes back by {} to frame {}",
                           length_of(last_timestamp_ - frame.timestamp), frame.number));
    }
    check_repetition(frame);
    timing_.add(frame, file_.path);
    last_timestamp_ = frame.timestamp;
    last_size_ = frame.payload.size();
    last_payload_.assign(frame.payload.substr(0, kCompared));
}

/** Frames without a time may well be equal: nothing moves. */
void DoctorFindings::check_repetition(InputFrame const& frame) {
    if (timing_.frames() == 0 || frame.timestamp == 0 || frame.timestamp != last_timestamp_) return;
    if (frame.payload.size() != last_size_) return;
    if (frame.payload.substr(0, kCompared) != last_payload_) return;
    report("repeated-frame", frame.offset,
           fmt::format("frame {} repeats the one before", frame.number));
}

void DoctorFindings::on_finding(Kit::Finding const& finding) {
    switch (finding.kind) {
        case FindingKind::kSkipped:
            if (damage_) damage_->length = finding.length;
            return;
        case FindingKind::kFrameCount:
            wrong_count_ = finding;
            if (!damage_) settle(true);
            return;
        default:
            break;
    }
    settle(finding.kind != FindingKind::kUnreadable);
    if (Kit::is_damage(finding.kind)) {
        damage_ = finding;
    } else {
        report(Kit::name_of(finding.kind), finding.offset, finding.text);
    }
}

/** Tells what waits. `goes_on`: whether there are records or a header behind the damage. */
void DoctorFindings::settle(bool goes_on) {
    if (damage_) take_(judge(*std::exchange(damage_, std::nullopt), goes_on));
    if (!wrong_count_) return;
    const Kit::Finding count = *std::exchange(wrong_count_, std::nullopt);
    report("frame-count", count.offset, count.text);
}

DoctorFinding DoctorFindings::judge(Kit::Finding const& finding, bool goes_on) const {
    std::string code = Kit::name_of(finding.kind);
    std::string text = finding.text;
    if (finding.kind == FindingKind::kCutShort && goes_on) {
        code = "wrong-length";
        text = "a record's length goes beyond the end, but records follow";
    } else if (finding.kind == FindingKind::kWrongTag && !goes_on && finding.length > 0) {
        code = "trailing-bytes";
        text = "bytes after the last record, " + finding.text;
    }
    if (can_be_zeroed(finding.kind) && finding.length > 0) {
        const auto sector =
            find_zeroed_sector(file_.path, finding.offset, finding.offset + finding.length);
        if (sector) {
            code = "zeroed-sector";
            text = fmt::format("zeros at offset {}, a sector or more", *sector);
        }
    }
    return {finding_code(code), file_.path, finding.offset, finding.length, text};
}

void DoctorFindings::report_gaps() {
    for (FrameGap const& gap : timing_.gaps()) {
        take_({finding_code("gap"), gap.place.file, gap.place.offset, 0,
               fmt::format("no frame for {} before frame {}, where {} is usual",
                           length_of(gap.length_us), gap.place.number,
                           length_of(timing_.usual_us()))});
    }
}

void DoctorFindings::report(char const* code, uint64_t offset, std::string const& text) {
    take_({finding_code(code), file_.path, offset, 0, text});
}

}  // namespace Tools
