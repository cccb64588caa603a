#include "kit/recording/format.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace Kit {

namespace {

uint64_t read_long(std::string_view bytes) {
    return read_word(bytes) | static_cast<uint64_t>(read_word(bytes.substr(4))) << 32;
}

double read_double(std::string_view bytes) {
    const uint64_t bits = read_long(bytes);
    double number = 0;
    static_assert(sizeof(number) == sizeof(bits), "a double is an IEEE 754 binary64");
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

void append_double(std::string& bytes, double number) {
    uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    append_word(bytes, static_cast<uint32_t>(bits));
    append_word(bytes, static_cast<uint32_t>(bits >> 32));
}

}  // namespace

std::string hexadecimal(uint32_t word) {
    char text[11];
    std::snprintf(text, sizeof(text), "0x%08" PRIX32, word);
    return text;
}

void append_word(std::string& bytes, uint32_t word) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(word >> shift & 0xFF);
    }
}

RecordingHeader read_header(std::string_view bytes) {
    RecordingHeader header;
    header.magic = read_word(bytes);
    header.version = read_word(bytes.substr(4));
    header.seconds = static_cast<int32_t>(read_word(bytes.substr(8)));
    header.daylight_saving = static_cast<int32_t>(read_word(bytes.substr(12)));
    header.height = read_double(bytes.substr(16));
    header.tilt = read_double(bytes.substr(24));
    header.sensitivity = static_cast<int32_t>(read_word(bytes.substr(32)));
    header.frame_count = read_word(bytes.substr(36));
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

bool begins_recording(std::string_view bytes) {
    return read_word(bytes) == kRecordingMagic && read_word(bytes.substr(4)) == kRecordingVersion;
}

}  // namespace Kit
