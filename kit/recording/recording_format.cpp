#include "kit/recording/recording_format.h"

#include <cstring>

namespace Kit {

namespace {

std::uint64_t read_long(std::string_view bytes) {
    return read_word(bytes) | static_cast<std::uint64_t>(read_word(bytes.substr(4))) << 32;
}

double read_double(std::string_view bytes) {
    const std::uint64_t bits = read_long(bytes);
    double number = 0;
    static_assert(sizeof(number) == sizeof(bits), "a double is an IEEE 754 binary64");
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

}  // namespace

RecordingHeader read_header(std::string_view bytes) {
    RecordingHeader header;
    header.magic = read_word(bytes);
    header.version = read_word(bytes.substr(4));
    header.seconds = static_cast<std::int32_t>(read_word(bytes.substr(8)));
    header.daylight_saving = static_cast<std::int32_t>(read_word(bytes.substr(12)));
    header.height = read_double(bytes.substr(16));
    header.tilt = read_double(bytes.substr(24));
    header.sensitivity = static_cast<std::int32_t>(read_word(bytes.substr(32)));
    header.frame_count = read_word(bytes.substr(36));
    return header;
}

bool begins_recording(std::string_view bytes) {
    return read_word(bytes) == kRecordingMagic && read_word(bytes.substr(4)) == kRecordingVersion;
}

}  // namespace Kit
