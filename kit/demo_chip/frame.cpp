#include "kit/demo_chip/frame.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kit::DemoChip {

namespace {

// Steps of a field in one unit of a frame: cm and cm/s in a metre, 0.1 mrad in a rad, 0.01 dB in a
// dB.
constexpr double kCentimetres = 100;
constexpr double kTenthsOfMilliradian = 10000;
constexpr double kHundredthsOfDecibel = 100;

constexpr uint16_t kNoRange = 0xFFFF;
constexpr int16_t kNoValue = std::numeric_limits<int16_t>::min();
constexpr double kHighestRange = 0xFFFE;
constexpr double kHighestValue = 0x7FFF;

uint16_t pack_range(float metres) {
    if (std::isnan(metres)) return kNoRange;
    const double code = std::round(double{metres} * kCentimetres);
    return static_cast<uint16_t>(std::clamp(code, 0.0, kHighestRange));
}

int16_t pack_signed(float value, double steps) {
    if (std::isnan(value)) return kNoValue;
    const double code = std::round(double{value} * steps);
    return static_cast<int16_t>(std::clamp(code, -kHighestValue, kHighestValue));
}

float unpack_range(uint16_t code) {
    if (code == kNoRange) return std::numeric_limits<float>::quiet_NaN();
    return static_cast<float>(code / kCentimetres);
}

float unpack_signed(int16_t code, double steps) {
    if (code == kNoValue) return std::numeric_limits<float>::quiet_NaN();
    return static_cast<float>(code / steps);
}

uint16_t low_half(uint32_t word) {
    return static_cast<uint16_t>(word & 0xFFFF);
}

uint16_t high_half(uint32_t word) {
    return static_cast<uint16_t>(word >> 16);
}

int16_t as_signed(uint16_t code) {
    return static_cast<int16_t>(code);
}

uint32_t join_halves(uint16_t low, uint16_t high) {
    return low | (uint32_t{high} << 16);
}

uint32_t join_halves(int16_t low, int16_t high) {
    return join_halves(static_cast<uint16_t>(low), static_cast<uint16_t>(high));
}

}  // namespace

uint16_t range_code(TargetWords const& words) {
    return low_half(words[0]);
}

int16_t snr_code(TargetWords const& words) {
    return as_signed(low_half(words[2]));
}

TargetWords pack_target(RO::TargetData const& target) {
    const auto speed = static_cast<uint16_t>(pack_signed(target.rdot(), kCentimetres));
    const auto snr = static_cast<uint16_t>(pack_signed(target.snr(), kHundredthsOfDecibel));
    return {
        join_halves(pack_range(target.r()), speed),
        join_halves(pack_signed(target.theta(), kTenthsOfMilliradian),
                    pack_signed(target.rcs(), kHundredthsOfDecibel)),
        join_halves(snr, low_half(target.options())),
    };
}

RO::TargetData unpack_target(TargetWords const& words) {
    RO::TargetData target;
    target.set_r(unpack_range(range_code(words)));
    target.set_rdot(unpack_signed(as_signed(high_half(words[0])), kCentimetres));
    target.set_theta(unpack_signed(as_signed(low_half(words[1])), kTenthsOfMilliradian));
    target.set_rcs(unpack_signed(as_signed(high_half(words[1])), kHundredthsOfDecibel));
    target.set_snr(unpack_signed(snr_code(words), kHundredthsOfDecibel));
    target.set_options(high_half(words[2]));
    return target;
}

}  // namespace Kit::DemoChip
