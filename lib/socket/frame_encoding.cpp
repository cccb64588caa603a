#include "socket/frame_encoding.h"

#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Radar {

namespace {

using google::protobuf::UnknownFieldSet;

constexpr char kTargetTag = 0x1A;
constexpr std::size_t kFloatSize = 1 + 4;
/** All fields of a target, with their tags: few enough for a length of one byte. */
constexpr std::size_t kLargestTarget = 5 * kFloatSize + (1 + 5);
/** Magic, timestamp, and what put_float() may write after the last field. */
constexpr std::size_t kLargestHead = (1 + 5) + (1 + 10) + kFloatSize;

template <typename Number>
char* put_varint(char* out, Number value) {
    for (; value >= 0x80; value >>= 7) *out++ = static_cast<char>(value | 0x80);
    *out++ = static_cast<char>(value);
    return out;
}

template <typename Number>
char* put_number(char* out, char tag, Number value) {
    if (value == 0) return out;
    *out++ = tag;
    return put_varint(out, value);
}

/** Always writes the field and keeps it only if it is not zero: no branch to be mispredicted. */
char* put_float(char* out, char tag, float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    const bool is_zero = (bits << 1) == 0;  // of either sign
    *out = tag;
    for (int i = 0; i < 4; ++i) out[1 + i] = static_cast<char>(bits >> (8 * i));
    return out + (is_zero ? 0 : kFloatSize);
}

char* put_fields(char* out, RO::TargetData const& target) {
    out = put_float(out, 0x0D, target.rcs());
    out = put_float(out, 0x15, target.r());
    out = put_float(out, 0x1D, target.rdot());
    out = put_float(out, 0x25, target.theta());
    out = put_number(out, 0x28, target.options());
    return put_float(out, 0x35, target.snr());
}

/** The encoding of fields that the schema does not know, of a message of this type. */
template <typename Message>
std::string encode_unknown(UnknownFieldSet const& fields) {
    Message message;
    Message::GetReflection()->MutableUnknownFields(&message)->MergeFrom(fields);
    return message.SerializeAsString();
}

/** A target with its tag and its length, which may have several bytes. */
std::string encode_target(RO::TargetData const& target, UnknownFieldSet const& unknown_fields) {
    char bytes[kLargestTarget + kFloatSize];
    std::string fields(bytes, put_fields(bytes, target));
    fields += encode_unknown<RO::TargetData>(unknown_fields);
    bytes[0] = kTargetTag;
    return std::string(bytes, put_varint(bytes + 1, fields.size())) + fields;
}

}  // namespace

std::string encode(RO::RadarObjects const& frame) {
    const auto count = static_cast<std::size_t>(frame.targets_size());
    std::string encoding(kLargestHead + count * (1 + 1 + kLargestTarget), '\0');
    char* out = put_number(encoding.data(), 0x08, frame.magic());
    out = put_number(out, 0x10, frame.timestamp());
    auto const* const reflection = RO::TargetData::GetReflection();
    for (RO::TargetData const& target : frame.targets()) {
        UnknownFieldSet const& unknown_fields = reflection->GetUnknownFields(target);
        if (unknown_fields.empty()) {
            char* const end = put_fields(out + 2, target);
            *out++ = kTargetTag;
            *out = static_cast<char>(end - (out + 1));
            out = end;
        } else {
            const std::string whole = encode_target(target, unknown_fields);
            const auto size = static_cast<std::size_t>(out - encoding.data());
            encoding.resize(encoding.size() + whole.size());
            out = std::copy(whole.begin(), whole.end(), encoding.data() + size);
        }
    }
    encoding.resize(static_cast<std::size_t>(out - encoding.data()));
    auto const& unknown_fields = RO::RadarObjects::GetReflection()->GetUnknownFields(frame);
    if (!unknown_fields.empty()) encoding += encode_unknown<RO::RadarObjects>(unknown_fields);
    return encoding;
}

}  // namespace Radar
