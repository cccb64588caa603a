#include "kit/encoding/target_reader.h"

#include "kit/base/words.h"
#include "kit/encoding/wire_walk.h"

namespace Kit {

namespace {

// The tags of a target's fields, in one byte each.
constexpr unsigned char kRcsTag = 1 << 3 | 5;
constexpr unsigned char kRTag = 2 << 3 | 5;
constexpr unsigned char kRdotTag = 3 << 3 | 5;
constexpr unsigned char kThetaTag = 4 << 3 | 5;
constexpr unsigned char kOptionsTag = 5 << 3 | 0;
constexpr unsigned char kSnrTag = 6 << 3 | 5;

/** The float that the field of a tag is; null when it is another field. */
float* float_of(TargetValues& values, uint32_t tag) {
    switch (tag) {
        case kRcsTag:
            return &values.rcs;
        case kRTag:
            return &values.r;
        case kRdotTag:
            return &values.rdot;
        case kThetaTag:
            return &values.theta;
        case kSnrTag:
            return &values.snr;
        default:
            return nullptr;
    }
}

bool read_field(WireWalk& walk, TargetValues& values) {
    uint32_t tag = 0;
    uint64_t number = 0;
    if (!walk.short_varint(tag)) return false;
    if (float* const value = float_of(values, tag)) {
        char const* const bytes = walk.place();
        if (!walk.skip(4)) return false;
        *value = read_float({bytes, sizeof(float)});
        return true;
    }
    if (tag != kOptionsTag) return walk.skip_field(tag, kDeepest - 1);
    if (!walk.varint(number)) return false;
    values.options = static_cast<uint32_t>(number);
    return true;
}

}  // namespace

bool TargetReader::next(std::string_view& target) {
    WireWalk walk(rest_);
    uint32_t tag = 0;
    while (walk.short_varint(tag)) {
        if (tag == kTargetTag) {
            if (!walk.piece(target)) break;
            rest_.remove_prefix(static_cast<size_t>(walk.place() - rest_.data()));
            return true;
        }
        if (!walk.skip_field(tag, kDeepest)) break;
    }
    rest_ = {};
    return false;
}

TargetValues read_target(std::string_view target) {
    TargetValues values;
    WireWalk walk(target);
    while (!walk.at_end() && read_field(walk, values)) {
    }
    return values;
}

std::string frame_without_targets(std::string_view frame) {
    std::string rest;
    WireWalk walk(frame);
    uint32_t tag = 0;
    while (!walk.at_end()) {
        char const* const begin = walk.place();
        if (!walk.short_varint(tag) || !walk.skip_field(tag, kDeepest)) break;
        if (tag != kTargetTag) rest.append(begin, walk.place());
    }
    return rest;
}

}  // namespace Kit
