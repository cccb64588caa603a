#include "service/raw_record.h"

#include <algorithm>

#include "kit/demo_chip/frame.h"
#include "kit/demo_chip/registers.h"

namespace Service {

namespace {

namespace Chip = Kit::DemoChip;

constexpr uint32_t kFixedRegisters = 4;

void append_word(std::string& record, uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) {
        record.push_back(static_cast<char>((word >> shift) & 0xFF));
    }
}

uint32_t frame_register(uint32_t count, bool cut, FrameConditions const& conditions) {
    return Chip::insert(Chip::kTargetCount, count) |
           Chip::insert(Chip::kFrameInterference, conditions.interfered ? 1 : 0) |
           Chip::insert(Chip::kFrameSaturation, conditions.saturated ? 1 : 0) |
           Chip::insert(Chip::kFrameCut, cut ? 1 : 0);
}

}  // namespace

std::string raw_record(RO::RadarObjects const& frame, uint32_t sequence,
                       FrameConditions const& conditions) {
    const int count = std::min(frame.targets_size(), Chip::kTargetLimit);
    const auto targets = static_cast<uint32_t>(count);
    const uint32_t registers =
        kFixedRegisters + targets * static_cast<uint32_t>(Chip::kRegistersPerTarget);

    std::string record;
    record.reserve(sizeof(uint32_t) * (2 + registers));
    append_word(record, kRawRecordTag);
    append_word(record, registers * static_cast<uint32_t>(sizeof(uint32_t)));
    append_word(record, sequence);
    append_word(record, static_cast<uint32_t>(frame.timestamp() & 0xFFFFFFFF));
    append_word(record, static_cast<uint32_t>(frame.timestamp() >> 32));
    append_word(record, frame_register(targets, frame.targets_size() > count, conditions));
    for (int i = 0; i < count; ++i) {
        for (const uint32_t word : Chip::pack_target(frame.targets(i))) append_word(record, word);
    }
    return record;
}

}  // namespace Service
