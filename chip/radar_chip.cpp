#include "chip/radar_chip.h"

#include <algorithm>
#include <utility>

namespace Chip {

using namespace Kit::DemoChip;

namespace {

constexpr uint32_t kAllBits = 0xFFFFFFFF;

uint32_t writable_control_bits() {
    return insert(kEnable, kAllBits) | insert(kFrameRate, kAllBits) | insert(kMaxTargets, kAllBits);
}

uint32_t flag(Radar::RadarField const& field, bool set) {
    return insert(field, set ? 1 : 0);
}

}  // namespace

uint32_t RadarChip::read(uint16_t address) {
    switch (address) {
        case kIdentification:
            return kIdentificationValue;
        case kVersion:
            return kVersionValue;
        case kScratch:
            return scratch_;
        case kControl:
            return control_;
        case kDetection:
            return detection_;
        case kRangeGate:
            return range_gate_;
        case kStatus:
            return status();
        case kEvents:
            return take_events();
        case kDropped:
            return dropped_;
        default:
            return window_register(address);
    }
}

void RadarChip::write(uint16_t address, uint32_t value, uint32_t mask) {
    const auto merged = [&](uint32_t old, uint32_t writable) {
        return (old & ~mask) | (value & mask & writable);
    };
    switch (address) {
        case kScratch:
            scratch_ = merged(scratch_, kAllBits);
            break;
        case kReset:
            if ((value & mask) == kResetKey) reset();
            break;
        case kControl:
            set_control(merged(control_, writable_control_bits()));
            break;
        case kDetection:
            detection_ = merged(detection_, insert(kMinimumSnr, kAllBits));
            break;
        case kRangeGate:
            range_gate_ = merged(range_gate_, kAllBits);
            break;
        case kAcknowledge:
            acknowledge(value & mask);
            break;
        default:
            break;
    }
}

bool RadarChip::running() const {
    return extract(kEnable, control_) != 0;
}

int RadarChip::frame_rate() const {
    return static_cast<int>(extract(kFrameRate, control_));
}

void RadarChip::measure(RO::RadarObjects const& frame, Disturbance disturbance) {
    if (!running()) return;
    Frame packed;
    packed.sequence = next_sequence_++;
    packed.timestamp = frame.timestamp();
    const bool cut = pack_targets(frame, packed);
    packed.info = insert(kTargetCount, static_cast<uint32_t>(packed.targets.size())) |
                  flag(kFrameInterference, disturbance.interference) |
                  flag(kFrameSaturation, disturbance.saturation) | flag(kFrameCut, cut);
    events_ |= flag(kInterference, disturbance.interference) |
               flag(kSaturation, disturbance.saturation) | flag(kCut, cut);
    queue(std::move(packed));
}

void RadarChip::end_input() {
    input_ended_ = true;
}

void RadarChip::reset() {
    scratch_ = 0;
    control_ = kControlAtReset;
    detection_ = 0;
    range_gate_ = 0;
    events_ = 0;
    dropped_ = 0;
    next_sequence_ = 1;
    frames_.clear();
}

void RadarChip::set_control(uint32_t value) {
    control_ = value;
    // A host that starts anew finds no frame of the run before.
    if (!running()) frames_.clear();
}

void RadarChip::acknowledge(uint32_t sequence) {
    if (!frames_.empty() && frames_.front().sequence == sequence) frames_.pop_front();
}

bool RadarChip::is_reported(TargetWords const& target) const {
    const auto weakest = static_cast<int32_t>(extract(kMinimumSnr, detection_));
    const uint32_t nearest = extract(kNearest, range_gate_);
    const uint32_t farthest = extract(kFarthest, range_gate_);
    return (weakest == 0 || snr_code(target) >= weakest) && range_code(target) >= nearest &&
           (farthest == 0 || range_code(target) <= farthest);
}

bool RadarChip::pack_targets(RO::RadarObjects const& frame, Frame& packed) const {
    const size_t limit =
        std::min(extract(kMaxTargets, control_), static_cast<uint32_t>(kTargetLimit));
    for (RO::TargetData const& target : frame.targets()) {
        const TargetWords words = pack_target(target);
        if (!is_reported(words)) continue;
        if (packed.targets.size() == limit) return true;
        packed.targets.push_back(words);
    }
    return false;
}

void RadarChip::queue(Frame frame) {
    if (frames_.size() == kFrameDepth) {
        // Not the front one: the host may be reading it.
        frames_.erase(frames_.begin() + 1);
        ++dropped_;
        events_ |= flag(kOverflow, true);
    }
    frames_.push_back(std::move(frame));
}

uint32_t RadarChip::status() const {
    return flag(kFrameReady, !frames_.empty()) | flag(kRunning, running()) |
           flag(kEvent, events_ != 0) | flag(kInputEnded, input_ended_) |
           insert(kWaiting, static_cast<uint32_t>(frames_.size()));
}

uint32_t RadarChip::take_events() {
    return std::exchange(events_, 0);
}

uint32_t RadarChip::window_register(int32_t address) const {
    if (frames_.empty()) return 0;
    Frame const& frame = frames_.front();
    switch (address) {
        case kSequence:
            return frame.sequence;
        case kTimestampLow:
            return static_cast<uint32_t>(frame.timestamp & kAllBits);
        case kTimestampHigh:
            return static_cast<uint32_t>(frame.timestamp >> 32);
        case kFrame:
            return frame.info;
        default:
            break;
    }
    const int32_t offset = address - kTargets;
    const auto count = static_cast<int32_t>(frame.targets.size());
    if (offset < 0 || offset >= count * kTargetBytes || offset % 4 != 0) return 0;
    const auto target = static_cast<size_t>(offset / kTargetBytes);
    const auto word = static_cast<size_t>(offset % kTargetBytes / 4);
    return frame.targets[target][word];
}

}  // namespace Chip
