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
    surveys.push_back(std::move(survey));
}

void SourceSurvey::end_file(FrameInput const& input) {
    if (!surveys.empty()) surveys.back().bytes = input.bytes_done() - file_begin;
    file_begin = input.bytes_done();
}

void SourceSurvey::finish(FrameInput const& input) {
    end_file(input);
    byte_count = input.bytes_done();
}

void SourceSurvey::add_header(Kit::RecordingHeader const& header) {
    FileSurvey& file = surveys.back();
    if (!file.header) file.header = header;
    ++file.headers;
    // As long as nothing else is found, unless the recorder is still counting.
    if (file.state != FileState::kBeingWritten && !file.frame_count_agrees) {
        file.frame_count_agrees = true;
    }
}

void SourceSurvey::add_frame(FrameInput const& input) {
    InputFrame const& frame = input.frame();
    FileSurvey& file = surveys.back();
    ++file.records;
    file.cut_offset.reset();  // what looked like one was a wrong length
    if (tag_count == nullptr || frame.tag != tag) {
        tag = frame.tag;
        tag_count = &tag_counts[tag];
    }
    ++*tag_count;
    fewest = frame_timing.frames() == 0 ? frame.target_count : std::min(fewest, frame.target_count);
    most = std::max(most, frame.target_count);
    target_count += frame.target_count;
    frame_timing.add(frame, file.file.path);
}

void SourceSurvey::add_finding(Kit::Finding const& finding) {
    FileSurvey& file = surveys.back();
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
    for (FileSurvey const& file : surveys) sum += file.skipped_bytes;
    return sum;
}

}  // namespace Tools
