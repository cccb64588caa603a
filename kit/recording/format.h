#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Kit {

/** The numbers of docs/recorded-files.md. They stand on storage media and never change. */
constexpr uint32_t kRecordingMagic = 0xBADABADA;
constexpr uint32_t kRecordingVersion = 5;
constexpr size_t kRecordingHeaderSize = 40;
/** Offset of the count of frames in the header, in bytes. */
constexpr size_t kFrameCountOffset = 36;
/** Upper half of every record's tag; the lower half is the recorder's number. */
constexpr uint32_t kRecordTag = 0xFEED0000;
/** Bytes of the tag and the length before every frame. */
constexpr size_t kRecordHeaderSize = 8;
/** The largest payload of a record, in bytes; a greater length is damage. */
constexpr uint32_t kLargestPayload = 16 * 1024 * 1024;

/** The header that every recorded file begins with. */
struct RecordingHeader {
    uint32_t magic = 0;
    uint32_t version = 0;
    /** When the file was begun, in s since 1970 UTC. */
    int32_t seconds = 0;
    /** Positive when daylight saving time was on then, 0 when not, negative when not known. */
    int32_t daylight_saving = 0;
    double height = 0;
    double tilt = 0;
    int32_t sensitivity = 0;
    /** Records that the recorder has counted. */
    uint32_t frame_count = 0;
};

/** A magic or a tag as text: "0xFEED0007". */
std::string hexadecimal(uint32_t word);

/** The header in the first 40 bytes of `bytes`, whatever its values. */
RecordingHeader read_header(std::string_view bytes);

/** The 40 bytes of a header: read_header() reverses it, bit for bit. */
std::string encode_header(RecordingHeader const& header);

/** The 8 bytes before a record's payload of `size` bytes. */
std::string encode_record_header(uint32_t tag, uint32_t size);

/** Whether `bytes`, 8 or more, begin as a recorded file does. */
bool begins_recording(std::string_view bytes);

/** Whether `tag` is one that a recorder can have. */
constexpr bool is_record_tag(uint32_t tag) {
    return (tag & 0xFFFF0000) == kRecordTag;
}

}  // namespace Kit
