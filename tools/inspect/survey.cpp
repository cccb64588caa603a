#include "tools/inspect/survey.h"

#include <algorithm>

namespace Tools {

using Kit::FindingKind;

void SourceSurvey::on_file(Kit::RecordingFile const& file, FileState state) {
    end_file();
    FileSurvey survey;
    survey.file = file;
    survey.state = state;
    surveys_.push_back(std::move(survey));
}

void SourceSurvey::end_file() {
    if (!surveys_.empty()) surveys_.back().bytes = input_.bytes_done() - file_begin_;
    file_begin_ = input_.bytes_done();
}

void SourceSurvey::finish() {
    end_file();
    byte_count_ = input_.bytes_done();
}

void SourceSurvey::on_header(Kit::RecordingHeader const& header) {
    FileSurvey& file = surveys_.back();
    if (!file.header) file.header = header;
    ++file.headers;
    // As long as nothing else is found, unless the recorder is still counting.
    if (file.state != FileState::kBeingWritten && !file.frame_count_agrees) {
        file.frame_count_agrees = true;
    }
}

void SourceSurvey::on_frame(InputFrame const& frame) {
    FileSurvey& file = surveys_.back();
    ++file.records;
    file.cut_offset.reset();  // what looked like one was a wrong length
    if (tag_count_ == nullptr || frame.tag != tag_) {
        tag_ = frame.tag;
        tag_count_ = &tag_counts_[tag_];
    }
    ++*tag_count_;
    fewest_ =
        frame_timing_.frames() == 0 ? frame.target_count : std::min(fewest_, frame.target_count);
    most_ = std::max(most_, frame.target_count);
    target_count_ += frame.target_count;
    frame_timing_.add(frame, file.file.path);
}

void SourceSurvey::on_finding(Kit::Finding const& finding) {
    FileSurvey& file = surveys_.back();
    if (finding.kind == FindingKind::kSkipped) {
        file.skipped_bytes += finding.length;
        return;
    }
    if (Kit::is_damage(finding.kind)) ++file.damaged_places;
    if (finding.kind == FindingKind::kRawData) file.frame_count_agrees.reset();
    if (finding.kind == FindingKind::kFrameCount) file.frame_count_agrees = false;
    if (!Kit::is_damage(finding.kind)) return;
    const bool is_cut = finding.kind == FindingKind::kCutShort ||
                        finding.kind == FindingKind::kShortHeader ||
                        finding.kind == FindingKind::kEmpty;
    file.cut_offset.reset();
    if (is_cut) file.cut_offset = finding.offset;
}

uint64_t SourceSurvey::skipped_bytes() const {
    uint64_t sum = 0;
    for (FileSurvey const& file : surveys_) sum += file.skipped_bytes;
    return sum;
}

}  // namespace Tools
