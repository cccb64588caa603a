#pragma once

#include <cstdint>
#include <string>

namespace Kit {

/** The kinds of defects of a recorded file. */
enum class FindingKind {
    kEmpty,           // no bytes at all
    kShortHeader,     // the file ends inside the header
    kNotARecording,   // another word in place of the magic
    kUnknownVersion,  // a format version other than 5
    kRawData,         // no record after the header: raw data, or damage from the start on
    kWrongTag,        // another tag than this recording's, or none, where a record must begin
    kZeros,           // zeros where a record must begin
    kTooLong,         // a length beyond the largest record's
    kCutShort,        // the file ends inside a record
    kUndecodable,     // the payload is not a radar's frame
    kForeignFrame,    // a frame with another magic; its record is the next item
    kSecondHeader,    // another recording begins, as when two files were joined
    kFrameCount,      // the header counts more or fewer frames than were found
    kUnreadable,      // the system fails to read the rest of the file
    kSkipped,         // how many bytes were lost after one of the others, once that is known
};

/** One defect, and its place. */
struct Finding {
    FindingKind kind = FindingKind::kEmpty;
    /** In bytes from the front of the file. */
    uint64_t offset = 0;
    /** For kSkipped: how many bytes. */
    uint64_t length = 0;
    /** The defect, as part of a line: "cut off inside a record: 12 of 308 bytes". */
    std::string text;
};

/** Whether it is damage; other findings lose no frame. */
bool is_damage(FindingKind kind);

/** A short name for programs, which never changes: "cut-short". */
char const* name_of(FindingKind kind);

}  // namespace Kit
