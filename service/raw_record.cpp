#include "service/raw_record.h"

#include <algorithm>

#include "kit/base/words.h"
#include "kit/demo_chip/frame.h"
#include "kit/demo_chip/registers.h"

namespace Service {

namespace {

namespace Chip = Kit::DemoChip;

constexpr uint32_t kFixedRegisters = 4;

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
    Kit::append_word(record, kRawRecordTag);
    Kit::append_word(record, registers * static_cast<uint32_t>(sizeof(uint32_t)));
    Kit::append_word(record, sequence);
    Kit::append_word64(record, frame.timestamp());
    Kit::append_word(record, frame_register(targets, frame.targets_size() > count, conditions));
    for (int i = 0; i < count; ++i) {
        for (const uint32_t word : Chip::pack_target(frame.targets(i)))
            Kit::append_word(record, word);
    }
    return record;
}

}  // namespace Service
