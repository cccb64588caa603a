#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "radar/radar_interface.h"

namespace Kit {

/**
 * The register map of the demo chip, which the simulated chip answers by and the host programs:
 * addresses, fields and the values that they take. docs/demo-chip.md is the page about it.
 *
 * Registers have 32 bits; an address counts bytes, so the next register is 4 further. Addresses,
 * bit positions and units never change: a new version of the chip adds registers.
 */
namespace DemoChip {

/** First byte of a write frame that the chip answers to; a read sends it with bit 0 set. */
constexpr int kCommandByte = 0x20;

// What the chip is. IDENTIFICATION reads as the bytes "PRD1" on the bus; VERSION as 1.0.0. A host
// works with every version of the same major number.
constexpr int32_t kIdentification = 0x0000;
constexpr int32_t kVersion = 0x0004;
constexpr uint32_t kIdentificationValue = 0x31445250;
constexpr uint32_t kMajorVersionValue = 1;
constexpr uint32_t kVersionValue = kMajorVersionValue << 16;
inline const Radar::RadarField kMajorVersion(kVersion, 16, 8);
inline const Radar::RadarField kMinorVersion(kVersion, 8, 8);
inline const Radar::RadarField kPatchVersion(kVersion, 0, 8);

/** Keeps what is written and does nothing with it: a host tries the bus both ways on it. */
constexpr int32_t kScratch = 0x0008;

/** Writing the key, the bytes "RSET" on the bus, gives every register its value at power-on. */
constexpr int32_t kReset = 0x000C;
constexpr uint32_t kResetKey = 0x54455352;

// How the chip measures. FRAME_RATE is in Hz; 0 leaves the pace to the chip. Targets beyond
// MAX_TARGETS are left out of a frame, the first ones stay.
constexpr int32_t kControl = 0x0010;
constexpr uint32_t kControlAtReset = 64U << 16;
inline const Radar::RadarField kEnable(kControl, 0, 1);
inline const Radar::RadarField kFrameRate(kControl, 8, 8);
inline const Radar::RadarField kMaxTargets(kControl, 16, 7);

// Which targets it reports. Weakest snr in 0.01 dB, nearest and farthest range in cm; 0 reports
// all.
constexpr int32_t kDetection = 0x0014;
inline const Radar::RadarField kMinimumSnr(kDetection, 0, 16);
constexpr int32_t kRangeGate = 0x0018;
inline const Radar::RadarField kNearest(kRangeGate, 0, 16);
inline const Radar::RadarField kFarthest(kRangeGate, 16, 16);

// How it is doing. EVENT tells that EVENTS holds a flag; WAITING counts the frames to be read.
constexpr int32_t kStatus = 0x0020;
inline const Radar::RadarField kFrameReady(kStatus, 0, 1);
inline const Radar::RadarField kRunning(kStatus, 1, 1);
inline const Radar::RadarField kEvent(kStatus, 2, 1);
inline const Radar::RadarField kInputEnded(kStatus, 3, 1);
inline const Radar::RadarField kWaiting(kStatus, 8, 8);

// What has happened since EVENTS was last read: reading it clears every flag.
constexpr int32_t kEvents = 0x0024;
inline const Radar::RadarField kInterference(kEvents, 0, 1);
inline const Radar::RadarField kSaturation(kEvents, 1, 1);
inline const Radar::RadarField kOverflow(kEvents, 2, 1);
inline const Radar::RadarField kCut(kEvents, 3, 1);

/** Frames since the reset that made way for newer ones before they were read. */
constexpr int32_t kDropped = 0x0028;

/** Writing the sequence number of the frame in the window makes room for the next one. */
constexpr int32_t kAcknowledge = 0x002C;

// The frame in the window; all 0 when there is none.
constexpr int32_t kSequence = 0x0030;
constexpr int32_t kTimestampLow = 0x0034;
constexpr int32_t kTimestampHigh = 0x0038;
constexpr int32_t kFrame = 0x003C;
inline const Radar::RadarField kTargetCount(kFrame, 0, 7);
inline const Radar::RadarField kFrameInterference(kFrame, 8, 1);
inline const Radar::RadarField kFrameSaturation(kFrame, 9, 1);
inline const Radar::RadarField kFrameCut(kFrame, 10, 1);

// The targets of the window, three registers each.
constexpr int32_t kTargets = 0x0100;
constexpr int kTargetLimit = 64;
constexpr int kRegistersPerTarget = 3;
constexpr int32_t kTargetBytes = 4 * kRegistersPerTarget;

/** Frames that the chip holds, the one in the window included. */
constexpr int kFrameDepth = 4;

/** The address of a register of the window: `word` 0 to 2 of target `index`, from 0 to 63. */
constexpr int32_t target_register(int index, int word) {
    return kTargets + kTargetBytes * index + 4 * word;
}

/** The bits of `field` in a register value. */
uint32_t extract(Radar::RadarField const& field, uint32_t register_value);

/** A register value that has `value` in `field` and 0 elsewhere; bits too many are dropped. */
uint32_t insert(Radar::RadarField const& field, uint32_t value);

/** A named register or field, as a line of the chip's map file has it. */
struct MapEntry {
    std::string name;
    int32_t address;
    int32_t shift;
    int32_t width;
    /** "r", "w", "rw", or "rc" for a register that changes by being read. */
    std::string access;
    std::string description;
};

/** Every register and field by its name, registers in order of address before their fields. */
std::vector<MapEntry> const& register_map();

/** The map file: a comment on its columns, then a line for every entry of register_map(). */
std::string register_map_text();

// What a message costs on the bus: 7 bytes at 500 kHz, 1 us after each transfer (a read has two),
// and an allowance for what passes between two messages in driver and controller.
constexpr double kBusHz = 500000;
constexpr int kMessageBytes = 7;
constexpr double kTransferDelayMicroseconds = 1;
constexpr double kMessageGapMicroseconds = 19;
constexpr double kReadMicroseconds =
    kMessageBytes * 8 * 1e6 / kBusHz + 2 * kTransferDelayMicroseconds + kMessageGapMicroseconds;

/**
 * Bus messages that a host needs for one frame of so many targets: STATUS, SEQUENCE twice, both
 * halves of the timestamp, FRAME, the targets, and the acknowledgement.
 */
constexpr int messages_per_frame(int targets) {
    return 7 + kRegistersPerTarget * targets;
}

}  // namespace DemoChip
}  // namespace Kit
