#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kit/base/block_reader.h"
#include "kit/encoding/frame_survey.h"
#include "kit/recording/finding.h"
#include "kit/recording/format.h"
#include "kit/recording/search.h"

namespace Kit {

/** One record of a recording. */
struct Record {
    /** Of its tag, in bytes from the front of the file. */
    uint64_t offset = 0;
    uint32_t tag = 0;
    /** The frame's encoding, which protobuf decodes. Valid until the next call of next(). */
    std::string_view payload;
    /** The magic, timestamp and number of targets of the frame. */
    FrameSurvey frame;
};

/**
 * Reads a recorded file from front to back: its header, its records, and findings about every
 * defect. After damage it resumes where RecordSearch finds the next record.
 *
 * Owns the input. Holds one block of the file or the largest record, at most 17 MiB, whatever the
 * file's size, and for a moment at most half as much again. One thread at a time. A file may grow
 * or be truncated meanwhile; the bytes that it has when they are read count.
 */
class RecordingScanner {
public:
    enum class Item { kHeader, kRecord, kFinding, kEnd };

    /** What the end of the input means. */
    enum class Tail {
        /** The end: less than a record is damage. */
        kComplete,
        /**
         * As far as the recorder has written: less than a record is read later. After kEnd the scan
         * resumes when the file has grown. The header's count of frames is not compared.
         */
        kGrowing,
    };

    /** Scans `path`, "-" being standard input. @throws InputError when it cannot be opened. */
    explicit RecordingScanner(std::string const& path, Tail tail = Tail::kComplete);
    /** Scans an input from its current position on, which is usually its front. */
    explicit RecordingScanner(std::unique_ptr<BlockReader> input, Tail tail = Tail::kComplete);

    /**
     * Moves to the next item, in order of the file.
     *
     * @throws InputError when the input cannot be read.
     */
    Item next();

    /**
     * The recorder has completed the file: from now on less than a record at its end is damage. To
     * be called after the recorder's last write and after a kEnd, from which the scan resumes.
     */
    void stop_growing();

    /** Returns to the front. @throws InputError when the input is a pipe. */
    void rewind();

    /** After kHeader: the header. Later: that of the records that follow it. */
    RecordingHeader const& header() const { return current_header_; }
    /** After kRecord: the record. */
    Record const& record() const { return current_record_; }
    /** After kFinding: the finding. */
    Finding const& finding() const { return current_finding_; }

    /** The current position, in bytes from the front. */
    uint64_t offset() const { return input_->offset(); }
    /** The name of the input, for messages. */
    std::string const& name() const { return input_->name(); }

private:
    enum class State { kHeader, kRecords, kLost, kEnded };

    std::unique_ptr<BlockReader> input_;
    Tail tail_;
    RecordSearch search_;
    State state_ = State::kHeader;
    RecordingHeader current_header_;
    Record current_record_;
    Finding current_finding_;
    /** Bytes of the last item, passed when the scan goes on. */
    size_t consumed_ = 0;
    /** Where the header is, and the records since, while its count is to be compared. */
    uint64_t header_offset_ = 0;
    uint64_t frame_count_ = 0;
    bool compare_frame_count_ = false;
    /** The tag of the last records, and of how many: with two it is certain. */
    uint32_t tag_ = 0;
    uint64_t records_of_tag_ = 0;
    bool foreign_frame_told_ = false;
    uint64_t lost_from_ = 0;

    Item take_header();
    Item take_record();
    Item take_frame(uint32_t record_tag, uint32_t length);
    Item refuse_tag(std::string_view head);
    Item refuse_frame(size_t size, FrameSurvey const* survey);
    Item go_on_after_damage();
    Item finish();
    Item tell(FindingKind kind, std::string text);
    Item lose(FindingKind kind, std::string text, size_t record_size = 0);
    Item tell_frame_count();
    bool frame_count_differs() const;
};

}  // namespace Kit
