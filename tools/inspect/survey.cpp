#include "tools/inspect/survey.h"

#include <algorithm>

namespace Tools {

using Kit::FindingKind;

void SourceSurvey::add(FrameInput const& input) {
    switch (input.item()) {
        case FrameInput::Item::kFile:
            begin_file(input);
            break;
        case FrameInput::Item::kHeader:
            add_header(input.header());
            break;
        case FrameInput::Item::kFrame:
            add_frame(input);
            break;
        case FrameInput::Item::kFinding:
            add_finding(input.finding());
            break;
        case FrameInput::Item::kNote:
            break;
    }
}

void SourceSurvey::begin_file(FrameInput const& input) {
    end_file(input);
    FileSurvey survey;
    survey.file = input.file();
    survey.state = input.state();
    surveys_.push_back(std::move(survey));
}

void SourceSurvey::end_file(FrameInput const& input) {
    if (!surveys_.empty()) surveys_.back().bytes = input.bytes_done() - file_begin_;
    file_begin_ = input.bytes_done();
}

void SourceSurvey::finish(FrameInput const& input) {
    end_file(input);
    byte_count_ = input.bytes_done();
}

void SourceSurvey::add_header(Kit::RecordingHeader const& header) {
    FileSurvey& file = surveys_.back();
    if (!file.header) file.header = header;
    ++file.headers;
    // As long as nothing else is found, unless the recorder is still counting.
    if (file.state != FileState::kBeingWritten && !file.frame_count_agrees) {
        file.frame_count_agrees = true;
    }
}

void SourceSurvey::add_frame(FrameInput const& input) {
    InputFrame const& frame = input.frame();
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

void SourceSurvey::add_finding(Kit::Finding const& finding) {
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
