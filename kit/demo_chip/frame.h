#pragma once

#include <array>
#include <cstdint>

#include "kit/demo_chip/registers.h"
#include "radar_objects/radar_objects.pb.h"

namespace Kit::DemoChip {

/** One target as its three registers of the window hold it. */
using TargetWords = std::array<uint32_t, kRegistersPerTarget>;

/** The range of a target in cm, as its register holds it. */
uint16_t range_code(TargetWords const& words);

/** The snr of a target in 0.01 dB, as its register holds it. */
int16_t snr_code(TargetWords const& words);

/**
 * Packs a target into its registers. Values are rounded to the nearest step, halves away from 0,
 * and limited to what the field can hold: range 0 to 655.34 m in steps of 1 cm, radial speed
 * +-327.67 m/s in 1 cm/s, bearing +-3.2767 rad in 0.1 mrad, rcs and snr +-327.67 dB in 0.01 dB.
 * A value that is no number has a code of its own, 0xffff for the range and 0x8000 for the others.
 * Of `options` the low 16 bits are kept.
 */
TargetWords pack_target(RO::TargetData const& target);

/** The target that a register triple stands for. Any three words are a target. */
RO::TargetData unpack_target(TargetWords const& words);

/**
 * The timestamp from the two halves that the chip has it in.
 */
constexpr uint64_t join_timestamp(uint32_t low, uint32_t high) {
    return (uint64_t{high} << 32) | low;
}

}  // namespace Kit::DemoChip
