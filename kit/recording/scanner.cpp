#include "kit/recording/scanner.h"

#include <optional>
#include <utility>

namespace Kit {

namespace {

std::string decimal(uint64_t number) {
    return std::to_string(number);
}

}  // namespace

RecordingScanner::RecordingScanner(std::string const& path, Tail tail_)
    : RecordingScanner(std::make_unique<BlockReader>(path), tail_) {}

RecordingScanner::RecordingScanner(std::unique_ptr<BlockReader> input_, Tail tail_)
    : input(std::move(input_)), tail(tail_), search(*input, tail == Tail::kGrowing) {}

RecordingScanner::Item RecordingScanner::next() {
    input->advance(std::exchange(consumed, 0));
    switch (state) {
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
    tail = Tail::kComplete;
    search.stop_growing();
}

void RecordingScanner::rewind() {
    input->rewind();
    state = State::kHeader;
    consumed = 0;
    foreign_frame_told = false;
}

RecordingScanner::Item RecordingScanner::take_header() {
    const std::string_view bytes = input->window(kRecordingHeaderSize);
    if (bytes.size() < kRecordingHeaderSize && tail == Tail::kGrowing) return Item::kEnd;
    if (bytes.empty()) {
        state = State::kEnded;
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
    current_header = read_header(bytes);
    if (current_header.version != kRecordingVersion) {
        return lose(FindingKind::kUnknownVersion,
                    "format version " + decimal(current_header.version) + " in place of 5");
    }
    header_offset = input->offset();
    frame_count = 0;
    compare_frame_count = tail == Tail::kComplete;
    records_of_tag = 0;
    state = State::kRecords;
    consumed = kRecordingHeaderSize;
    return Item::kHeader;
}

RecordingScanner::Item RecordingScanner::take_record() {
    const std::string_view head = input->window(kRecordHeaderSize);
    if (head.empty()) return finish();
    if (head.size() < kRecordHeaderSize) {
        if (tail == Tail::kGrowing) return Item::kEnd;
        if (records_of_tag != 0 && !continues_recording(head, tag)) {
            return lose(FindingKind::kWrongTag, "no record: " + decimal(head.size()) + " bytes");
        }
        return lose(FindingKind::kCutShort,
                    "cut off inside a record: " + decimal(head.size()) + " bytes");
    }
    const uint32_t found = read_word(head);
    if (!is_record_tag(found) || (records_of_tag != 0 && found != tag)) return refuse_tag(head);
    const uint32_t length = read_word(head.substr(4));
    if (length > kLargestPayload) {
        return lose(FindingKind::kTooLong, "record with a payload of " + decimal(length) +
                                               " bytes, more than " + decimal(kLargestPayload));
    }
    return take_frame(found, length);
}

RecordingScanner::Item RecordingScanner::take_frame(uint32_t found, uint32_t length) {
    const size_t size = kRecordHeaderSize + length;
    const std::string_view bytes = input->window(size);
    if (bytes.size() < size) {
        if (tail == Tail::kGrowing) return Item::kEnd;
        return lose(FindingKind::kCutShort, "cut off inside a record: " + decimal(bytes.size()) +
                                                " of " + decimal(size) + " bytes");
    }
    FrameSurvey frame;
    const std::string_view payload = bytes.substr(kRecordHeaderSize, length);
    const bool well_formed = survey_frame(payload, frame);
    if (!well_formed) return refuse_frame(size, nullptr);
    if (frame.magic != kFrameMagic && !foreign_frame_told) return refuse_frame(size, &frame);
    foreign_frame_told = false;
    tag = found;
    ++records_of_tag;
    ++frame_count;
    consumed = size;
    current_record = {input->offset(), found, payload, frame};
    return Item::kRecord;
}

/** What stands where a record has to begin is not a tag of this recording's records. */
RecordingScanner::Item RecordingScanner::refuse_tag(std::string_view head) {
    const uint32_t found = read_word(head);
    if (begins_recording(head)) {
        if (frame_count_differs()) return tell_frame_count();
        state = State::kHeader;
        return tell(FindingKind::kSecondHeader, "another recording begins");
    }
    if (found == 0) return lose(FindingKind::kZeros, "zeros where a record has to begin");
    if (input->offset() == header_offset + kRecordingHeaderSize) {
        compare_frame_count = false;  // pieces of raw data are counted too
        return lose(FindingKind::kRawData, "no record behind the header, " + hexadecimal(found) +
                                               " is no tag: raw data, or damage");
    }
    if (records_of_tag == 1 && search.judge(std::nullopt) == RecordSearch::Result::kFound) {
        // All that has the other tag is the one record before: this one's is the recording's.
        records_of_tag = 0;
        return tell(FindingKind::kWrongTag,
                    "tag " + hexadecimal(found) + " after one " + hexadecimal(tag));
    }
    return lose(FindingKind::kWrongTag,
                "no record: tag " + hexadecimal(found) +
                    (records_of_tag == 0 ? "" : " in place of " + hexadecimal(tag)));
}

/** The payload of the record of `size` bytes here is not a radar's frame but, if any, `frame`. */
RecordingScanner::Item RecordingScanner::refuse_frame(size_t size, FrameSurvey const* frame) {
    if (frame == nullptr) {
        return lose(FindingKind::kUndecodable,
                    "the payload of a record of " + decimal(size) + " bytes does not decode", size);
    }
    const std::string text =
        "frame with magic " + decimal(frame->magic) + " in place of " + decimal(kFrameMagic);
    const std::string_view bytes = input->window(size + kRecordHeaderSize);
    if (!continues_recording(bytes.substr(size), read_word(bytes))) {
        return lose(FindingKind::kUndecodable, text, size);
    }
    foreign_frame_told = true;
    return tell(FindingKind::kForeignFrame, text);
}

RecordingScanner::Item RecordingScanner::go_on_after_damage() {
    if (search.run() == RecordSearch::Result::kNotYet) return Item::kEnd;
    const uint64_t length = input->offset() - lost_from;
    current_finding = {FindingKind::kSkipped, lost_from, length,
                       decimal(length) + " bytes skipped"};
    state = State::kRecords;
    return Item::kFinding;
}

/** The input ends where a record may end. */
RecordingScanner::Item RecordingScanner::finish() {
    if (tail == Tail::kGrowing) return Item::kEnd;
    if (frame_count_differs()) return tell_frame_count();
    state = State::kEnded;
    return Item::kEnd;
}

RecordingScanner::Item RecordingScanner::tell(FindingKind kind, std::string text) {
    current_finding = {kind, input->offset(), 0, std::move(text)};
    return Item::kFinding;
}

RecordingScanner::Item RecordingScanner::lose(FindingKind kind, std::string text,
                                              size_t record_size) {
    const Item item = tell(kind, std::move(text));
    const bool certain = records_of_tag >= 2;
    if (!certain) records_of_tag = 0;
    lost_from = input->offset();
    search.begin(certain ? std::optional(tag) : std::nullopt, record_size);
    state = State::kLost;
    return item;
}

bool RecordingScanner::frame_count_differs() const {
    return compare_frame_count && frame_count != current_header.frame_count;
}

RecordingScanner::Item RecordingScanner::tell_frame_count() {
    compare_frame_count = false;
    current_finding = {FindingKind::kFrameCount, header_offset + kFrameCountOffset, 0,
                       "the header counts " + decimal(current_header.frame_count) + " frames, " +
                           decimal(frame_count) + " were found"};
    return Item::kFinding;
}

}  // namespace Kit
