#include "kit/recording/scanner.h"

#include <optional>
#include <utility>

#include "kit/base/words.h"
#include "kit/encoding/frame_magic.h"

namespace Kit {

namespace {

std::string decimal(uint64_t number) {
    return std::to_string(number);
}

}  // namespace

RecordingScanner::RecordingScanner(std::string const& path, Tail tail)
    : RecordingScanner(std::make_unique<BlockReader>(path), tail) {}

RecordingScanner::RecordingScanner(std::unique_ptr<BlockReader> input, Tail tail)
    : input_(std::move(input)), tail_(tail), search_(*input_, tail_ == Tail::kGrowing) {}

RecordingScanner::Item RecordingScanner::next() {
    input_->advance(std::exchange(consumed_, 0));
    switch (state_) {
        case State::kHeader:
            return take_header();
        case State::kRecords:
            return take_record();
        case State::kLost:
            return go_on_after_damage();
        case State::kEnded:
            break;
    }
    return Item::kEnd;
}

void RecordingScanner::stop_growing() {
    tail_ = Tail::kComplete;
    search_.stop_growing();
}

void RecordingScanner::rewind() {
    input_->rewind();
    state_ = State::kHeader;
    consumed_ = 0;
    foreign_frame_told_ = false;
}

RecordingScanner::Item RecordingScanner::take_header() {
    const std::string_view bytes = input_->window(kRecordingHeaderSize);
    if (bytes.size() < kRecordingHeaderSize && tail_ == Tail::kGrowing) return Item::kEnd;
    if (bytes.empty()) {
        state_ = State::kEnded;
        return tell(FindingKind::kEmpty, "empty");
    }
    if (bytes.size() >= 4 && read_word(bytes) != kRecordingMagic) {
        return lose(FindingKind::kNotARecording,
                    "not a recording: " + hexadecimal(read_word(bytes)) + " in place of " +
                        hexadecimal(kRecordingMagic));
    }
    if (bytes.size() < kRecordingHeaderSize) {
        return lose(FindingKind::kShortHeader,
                    "cut off inside the header: " + decimal(bytes.size()) + " of 40 bytes");
    }
    current_header_ = read_header(bytes);
    if (current_header_.version != kRecordingVersion) {
        return lose(FindingKind::kUnknownVersion,
                    "format version " + decimal(current_header_.version) + " in place of 5");
    }
    header_offset_ = input_->offset();
    frame_count_ = 0;
    compare_frame_count_ = tail_ == Tail::kComplete;
    records_of_tag_ = 0;
    state_ = State::kRecords;
    consumed_ = kRecordingHeaderSize;
    return Item::kHeader;
}

RecordingScanner::Item RecordingScanner::take_record() {
    const std::string_view head = input_->window(kRecordHeaderSize);
    if (head.empty()) return finish();
    if (head.size() < kRecordHeaderSize) {
        if (tail_ == Tail::kGrowing) return Item::kEnd;
        if (records_of_tag_ != 0 && !continues_recording(head, tag_)) {
            return lose(FindingKind::kWrongTag, "no record: " + decimal(head.size()) + " bytes");
        }
        return lose(FindingKind::kCutShort,
                    "cut off inside a record: " + decimal(head.size()) + " bytes");
    }
    const uint32_t found = read_word(head);
    if (!is_record_tag(found) || (records_of_tag_ != 0 && found != tag_)) return refuse_tag(head);
    const uint32_t length = read_word(head, 4);
    if (length > kLargestPayload) {
        return lose(FindingKind::kTooLong, "record with a payload of " + decimal(length) +
                                               " bytes, more than " + decimal(kLargestPayload));
    }
    return take_frame(found, length);
}

RecordingScanner::Item RecordingScanner::take_frame(uint32_t found, uint32_t length) {
    const size_t size = kRecordHeaderSize + length;
    const std::string_view bytes = input_->window(size);
    if (bytes.size() < size) {
        if (tail_ == Tail::kGrowing) return Item::kEnd;
        return lose(FindingKind::kCutShort, "cut off inside a record: " + decimal(bytes.size()) +
                                                " of " + decimal(size) + " bytes");
    }
    FrameSurvey frame;
    const std::string_view payload = bytes.substr(kRecordHeaderSize, length);
    const bool well_formed = survey_frame(payload, frame);
    if (!well_formed) return refuse_frame(size, nullptr);
    if (frame.magic != kFrameMagic && !foreign_frame_told_) return refuse_frame(size, &frame);
    foreign_frame_told_ = false;
    tag_ = found;
    ++records_of_tag_;
    ++frame_count_;
    consumed_ = size;
    current_record_ = {input_->offset(), found, payload, frame};
    return Item::kRecord;
}

/** What stands where a record has to begin is not a tag of this recording's records. */
RecordingScanner::Item RecordingScanner::refuse_tag(std::string_view head) {
    const uint32_t found = read_word(head);
    if (begins_recording(head)) {
        if (frame_count_differs()) return tell_frame_count();
        state_ = State::kHeader;
        return tell(FindingKind::kSecondHeader, "another recording begins");
    }
    if (found == 0) return lose(FindingKind::kZeros, "zeros where a record has to begin");
    if (input_->offset() == header_offset_ + kRecordingHeaderSize) {
        compare_frame_count_ = false;  // pieces of raw data are counted too
        return lose(FindingKind::kRawData, "no record after the header, " + hexadecimal(found) +
                                               " is not a tag: raw data, or damage");
    }
    if (records_of_tag_ == 1 && search_.judge(std::nullopt) == RecordSearch::Result::kFound) {
        // All that has the other tag is the one record before: this one's is the recording's.
        records_of_tag_ = 0;
        return tell(FindingKind::kWrongTag,
                    "tag " + hexadecimal(found) + " after one " + hexadecimal(tag_));
    }
    return lose(FindingKind::kWrongTag,
                "no record: tag " + hexadecimal(found) +
                    (records_of_tag_ == 0 ? "" : " in place of " + hexadecimal(tag_)));
}

/** The payload of the record of `size` bytes here is not a radar's frame but, if any, `frame`. */
RecordingScanner::Item RecordingScanner::refuse_frame(size_t size, FrameSurvey const* frame) {
    if (frame == nullptr) {
        return lose(FindingKind::kUndecodable,
                    "the payload of a record of " + decimal(size) + " bytes does not decode", size);
    }
    const std::string text =
        "frame with magic " + decimal(frame->magic) + " in place of " + decimal(kFrameMagic);
    const std::string_view bytes = input_->window(size + kRecordHeaderSize);
    if (!continues_recording(bytes.substr(size), read_word(bytes))) {
        return lose(FindingKind::kUndecodable, text, size);
    }
    foreign_frame_told_ = true;
    return tell(FindingKind::kForeignFrame, text);
}

RecordingScanner::Item RecordingScanner::go_on_after_damage() {
    if (search_.run() == RecordSearch::Result::kNotYet) return Item::kEnd;
    const uint64_t length = input_->offset() - lost_from_;
    current_finding_ = {FindingKind::kSkipped, lost_from_, length,
                        decimal(length) + " bytes skipped"};
    state_ = State::kRecords;
    return Item::kFinding;
}

/** The input ends where a record may end. */
RecordingScanner::Item RecordingScanner::finish() {
    if (tail_ == Tail::kGrowing) return Item::kEnd;
    if (frame_count_differs()) return tell_frame_count();
    state_ = State::kEnded;
    return Item::kEnd;
}

RecordingScanner::Item RecordingScanner::tell(FindingKind kind, std::string text) {
    current_finding_ = {kind, input_->offset(), 0, std::move(text)};
    return Item::kFinding;
}

RecordingScanner::Item RecordingScanner::lose(FindingKind kind, std::string text,
                                              size_t record_size) {
    const Item item = tell(kind, std::move(text));
    const bool certain = records_of_tag_ >= 2;
    if (!certain) records_of_tag_ = 0;
    lost_from_ = input_->offset();
    search_.begin(certain ? std::optional(tag_) : std::nullopt, record_size);
    state_ = State::kLost;
    return item;
}

bool RecordingScanner::frame_count_differs() const {
    return compare_frame_count_ && frame_count_ != current_header_.frame_count;
}

RecordingScanner::Item RecordingScanner::tell_frame_count() {
    compare_frame_count_ = false;
    current_finding_ = {FindingKind::kFrameCount, header_offset_ + kFrameCountOffset, 0,
                        "the header counts " + decimal(current_header_.frame_count) + " frames, " +
                            decimal(frame_count_) + " were found"};
    return Item::kFinding;
}

}  // namespace Kit
