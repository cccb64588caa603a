#pragma once

#include <cstdint>
#include <string>

#include "radar_objects/radar_objects.pb.h"
#include "service/failure_monitor.h"

namespace Service {

/** What stands in front of every raw record, the bytes "RAW1"; no tag of a frame. Never changes. */
constexpr uint32_t kRawRecordTag = 0x31574152;

/**
 * Returns the raw record of a frame: tag and length in bytes, then the registers of the demo chip's
 * window as they show the frame, in order of address: SEQUENCE, TIMESTAMP_LOW, TIMESTAMP_HIGH and
 * FRAME, then three for each target. All are words of 4 bytes, least significant byte first.
 * Targets beyond those that the window holds are left out, which FRAME says.
 *
 * @param sequence the number of the frame, from 1; 2^32 - 1 is followed by 0.
 */
std::string raw_record(RO::RadarObjects const& frame, uint32_t sequence,
                       FrameConditions const& conditions);

}  // namespace Service
