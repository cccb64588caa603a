#include "kit/recording/search.h"

#include <algorithm>
#include <cstring>

#include "kit/base/words.h"
#include "kit/encoding/frame_magic.h"
#include "kit/encoding/frame_survey.h"
#include "kit/recording/format.h"

namespace Kit {

namespace {

/** How much is looked through at a time: little, because all of it may be looked at again. */
constexpr size_t kSearchWindow = 4096;

/**
 * Candidates overlap, so that a file made for it could have the same bytes looked at again and
 * again. These bounds keep the time in proportion to the file; files that recorders wrote and
 * accidents damaged stay far below.
 */
constexpr uint64_t kExaminedAtOnce = 64 * 1024 * 1024;
constexpr uint64_t kExaminedPerByte = 16;

/** Where `byte` is in `bytes` from `from` on; its size if nowhere. */
size_t find_byte(std::string_view bytes, unsigned char byte, size_t from) {
    void const* const found = std::memchr(bytes.data() + from, byte, bytes.size() - from);
    if (found == nullptr) return bytes.size();
    return static_cast<size_t>(static_cast<char const*>(found) - bytes.data());
}

/** Where a record or a header may begin in `bytes`, or, if nowhere, the last 7 bytes. */
size_t find_candidate(std::string_view bytes) {
    // The last byte of a tag, or of the magic, is what to search for.
    constexpr unsigned char kLastOfTag = kRecordTag >> 24;
    constexpr unsigned char kLastOfMagic = kRecordingMagic >> 24;
    const std::string_view lasts = bytes.substr(0, bytes.size() - 4);
    size_t of_tag = find_byte(lasts, kLastOfTag, 3);
    size_t of_magic = find_byte(lasts, kLastOfMagic, 3);
    while (of_tag < lasts.size() || of_magic < lasts.size()) {
        const size_t place = std::min(of_tag, of_magic) - 3;
        const uint32_t word = read_word(bytes, place);
        if (is_record_tag(word) || word == kRecordingMagic) return place;
        size_t& next = of_tag < of_magic ? of_tag : of_magic;
        next = find_byte(lasts, of_tag < of_magic ? kLastOfTag : kLastOfMagic, next + 1);
    }
    return bytes.size() - (kRecordHeaderSize - 1);
}

}  // namespace

bool continues_recording(std::string_view rest, uint32_t tag) {
    if (rest.size() < kRecordHeaderSize) {
        const auto of_tag = bytes_of_word(tag);
        const size_t size = std::min(rest.size(), of_tag.size());
        return rest.substr(0, size) == std::string_view(of_tag.data(), size);
    }
    if (begins_recording(rest)) return true;
    return read_word(rest) == tag && read_word(rest, 4) <= kLargestPayload;
}

void RecordSearch::begin(std::optional<uint32_t> expected_tag, size_t record_size) {
    tag_ = expected_tag;
    damaged_record_ = record_size;
    begin_offset_ = input_.offset();
    examined_ = 0;
    if (damaged_record_ == 0) input_.advance(1);
}

RecordSearch::Result RecordSearch::run() {
    if (step_over_damaged_record()) return Result::kFound;
    for (;;) {
        const std::string_view window = input_.window(kSearchWindow).substr(0, kSearchWindow);
        if (window.size() < kRecordHeaderSize) {
            if (growing_) return Result::kNotYet;
            input_.advance(window.size());
            return Result::kEnd;
        }
        const size_t place = find_candidate(window);
        input_.advance(place);
        if (window.size() - place < kRecordHeaderSize) continue;
        const Result result = judge(tag_);
        if (result != Result::kEnd) return result;
        input_.advance(1);
    }
}

/** Moves to the end of the damaged record if the recording goes on there, else by one byte. */
bool RecordSearch::step_over_damaged_record() {
    if (damaged_record_ == 0) return false;
    const std::string_view bytes = input_.window(damaged_record_ + kRecordHeaderSize);
    // That the input ends there says less: then the length may as well have swallowed other
    // records.
    const bool found = bytes.size() >= damaged_record_ + kRecordHeaderSize &&
                       continues_recording(bytes.substr(damaged_record_), read_word(bytes)) &&
                       !ends_with_records(bytes.substr(0, damaged_record_), read_word(bytes));
    input_.advance(found ? damaged_record_ : 1);
    damaged_record_ = 0;
    return found;
}

/** Whether the last bytes of a damaged record are whole records, which its length has swallowed. */
bool RecordSearch::ends_with_records(std::string_view bytes, uint32_t expected_tag) {
    bytes.remove_prefix(1);
    while (bytes.size() >= kRecordHeaderSize && within_budget()) {
        const std::string_view window = bytes.substr(0, kSearchWindow);
        const size_t place = find_candidate(window);
        bytes.remove_prefix(place);
        if (window.size() - place < kRecordHeaderSize) continue;
        std::string_view rest = bytes;
        for (size_t size = 1; size != 0 && !rest.empty(); rest.remove_prefix(size)) {
            size = record_at(rest, expected_tag);
        }
        if (rest.empty()) return true;
        bytes.remove_prefix(1);
    }
    return false;
}

/** The size of the credible record at the front of `bytes`, 0 when there is none. */
size_t RecordSearch::record_at(std::string_view bytes, uint32_t expected_tag) {
    if (bytes.size() < kRecordHeaderSize || read_word(bytes) != expected_tag) return 0;
    const uint32_t length = read_word(bytes, 4);
    if (length > bytes.size() - kRecordHeaderSize) return 0;
    return is_frame(bytes.substr(kRecordHeaderSize, length)) ? kRecordHeaderSize + length : 0;
}

bool RecordSearch::within_budget() const {
    return examined_ <= kExaminedAtOnce + kExaminedPerByte * (input_.offset() - begin_offset_);
}

RecordSearch::Result RecordSearch::judge(std::optional<uint32_t> expected_tag) {
    const std::string_view head = input_.window(kRecordHeaderSize + kFrameStart.size());
    if (head.size() >= kRecordHeaderSize && begins_recording(head)) return judge_header();
    if (head.size() < kRecordHeaderSize + kFrameStart.size()) {
        return growing_ ? Result::kNotYet : Result::kEnd;
    }
    const uint32_t found = read_word(head);
    const uint32_t length = read_word(head, 4);
    if (!is_record_tag(found) || found != expected_tag.value_or(found) ||
        length > kLargestPayload || length < kFrameStart.size() ||
        head.substr(kRecordHeaderSize, kFrameStart.size()) != kFrameStart) {
        return Result::kEnd;
    }
    if (!within_budget()) return Result::kEnd;
    const size_t size = kRecordHeaderSize + length;
    const std::string_view bytes = input_.window(size + kRecordHeaderSize);
    if (bytes.size() < size) return growing_ ? Result::kNotYet : Result::kEnd;
    if (!expected_tag && !continues_recording(bytes.substr(size), found)) return Result::kEnd;
    return is_frame(bytes.substr(kRecordHeaderSize, length)) ? Result::kFound : Result::kEnd;
}

RecordSearch::Result RecordSearch::judge_header() {
    const std::string_view bytes = input_.window(kRecordingHeaderSize + kRecordHeaderSize);
    if (bytes.size() < kRecordingHeaderSize) return growing_ ? Result::kNotYet : Result::kEnd;
    const std::string_view rest = bytes.substr(kRecordingHeaderSize);
    const uint32_t found = rest.size() < 4 ? kRecordTag : read_word(rest);
    return is_record_tag(found) && continues_recording(rest, found) ? Result::kFound : Result::kEnd;
}

bool RecordSearch::is_frame(std::string_view payload) {
    FrameSurvey frame;
    size_t size = 0;
    const bool well_formed = survey_frame(payload, frame, &size);
    examined_ += size;
    return well_formed && frame.magic == kFrameMagic;
}

}  // namespace Kit
