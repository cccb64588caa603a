#pragma once

#include <cstdint>
#include <string>

namespace Kit {

/** What can be the matter with a recorded file. */
enum class FindingKind {
    kEmpty,           // no bytes at all
    kShortHeader,     // the file ends inside the header
    kNotARecording,   // another word than the magic in front
    kUnknownVersion,  // a format version other than 5
    kRawData,         // no record behind the header: raw data, or damage from the start on
    kWrongTag,        // another tag than this recording's, or none, where a record has to begin
    kZeros,           // zeros where a record has to begin
    kTooLong,         // a length beyond the largest record's
    kCutShort,        // the file ends inside a record
    kUndecodable,     // the payload is not a radar's frame
    kForeignFrame,    // a frame with another magic; the record follows all the same
    kSecondHeader,    // another recording begins, as when two files were joined
    kFrameCount,      // the header counts other than was found
    kUnreadable,      // the system does not give the rest of the file
    kSkipped,         // how many bytes were lost after one of the others, once that is known
};

/** One thing that is the matter, and where. */
struct Finding {
    FindingKind kind = FindingKind::kEmpty;
    /** In bytes from the front of the file. */
    uint64_t offset = 0;
    /** For kSkipped: how many bytes. */
    uint64_t length = 0;
    /** What is the matter, as part of a line: "cut off inside a record: 12 of 308 bytes". */
    std::string text;
};

/** Whether it is damage, as against something odd with which no frame is lost. */
bool is_damage(FindingKind kind);

/** A short name that never changes, for machines to read: "cut-short". */
char const* name_of(FindingKind kind);

}  // namespace Kit
