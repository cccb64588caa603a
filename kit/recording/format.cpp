#include "kit/recording/format.h"

#include <fmt/core.h>

#include "kit/base/words.h"

namespace Kit {

std::string hexadecimal(uint32_t word) {
    return fmt::format("0x{:08X}", word);
}

RecordingHeader read_header(std::string_view bytes) {
    RecordingHeader header;
    header.magic = read_word(bytes);
    header.version = read_word(bytes, 4);
    header.seconds = static_cast<int32_t>(read_word(bytes, 8));
    header.daylight_saving = static_cast<int32_t>(read_word(bytes, 12));
    header.height = read_double(bytes, 16);
    header.tilt = read_double(bytes, 24);
    header.sensitivity = static_cast<int32_t>(read_word(bytes, 32));
    header.frame_count = read_word(bytes, kFrameCountOffset);
    return header;
}

std::string encode_header(RecordingHeader const& header) {
    std::string bytes;
    bytes.reserve(kRecordingHeaderSize);
    append_word(bytes, header.magic);
    append_word(bytes, header.version);
    append_word(bytes, static_cast<uint32_t>(header.seconds));
    append_word(bytes, static_cast<uint32_t>(header.daylight_saving));
    append_double(bytes, header.height);
    append_double(bytes, header.tilt);
    append_word(bytes, static_cast<uint32_t>(header.sensitivity));
    append_word(bytes, header.frame_count);
    return bytes;
}

std::string encode_record_header(uint32_t tag, uint32_t size) {
    std::string bytes;
    bytes.reserve(kRecordHeaderSize);
    append_word(bytes, tag);
    append_word(bytes, size);
    return bytes;
}

bool begins_recording(std::string_view bytes) {
    return read_word(bytes) == kRecordingMagic && read_word(bytes, 4) == kRecordingVersion;
}

}  // namespace Kit
