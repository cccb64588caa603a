#include "service/chip_input.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <system_error>

#include "kit/base/input_error.h"
#include "kit/demo_chip/frame.h"
#include "kit/encoding/frame_magic.h"
#include "kit/recording/format.h"

namespace Service {

using namespace Kit::DemoChip;

namespace {

constexpr char kDevice[] = "/dev/spidev0.0";
constexpr uint32_t kScratchPattern = 0xA55A3CC3;
constexpr uint32_t kAllOnes = 0xFFFFFFFF;

std::string hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", value);
    return text;
}

/** `value` in steps of a hundredth, as far as a field of 16 bits goes. */
uint32_t hundredths(double value) {
    return static_cast<uint32_t>(std::clamp(std::round(value * 100), 0.0, 65535.0));
}

uint32_t known_status_bits() {
    return insert(kFrameReady, kAllOnes) | insert(kRunning, kAllOnes) | insert(kEvent, kAllOnes) |
           insert(kInputEnded, kAllOnes) | insert(kWaiting, kAllOnes);
}

}  // namespace

ChipInput::ChipInput(ChipSettings const& settings) : chip_(0, settings.command_byte) {
    identify(settings.command_byte);
    program(settings);
}

bool ChipInput::poll(RO::RadarObjects& frame) {
    problem_.clear();
    try {
        return read_frame(frame);
    } catch (std::system_error const& error) {
        return fail(error.what());
    }
}

ChipEvents ChipInput::take_events() {
    return std::exchange(events_, ChipEvents());
}

uint32_t ChipInput::read(int32_t address) {
    const int value = chip_.read_register(address);
    ++counters_.reads;
    return static_cast<uint32_t>(value);
}

void ChipInput::write(int32_t address, uint32_t value) {
    chip_.write_register(address, static_cast<int>(value), 0);
    ++counters_.writes;
}

void ChipInput::identify(int command_byte) {
    const std::string device = std::string(kDevice) + ": ";
    const uint32_t identification = read(kIdentification);
    if (identification == 0 || identification == kAllOnes) {
        throw Kit::InputError(device + "no chip answers to command byte " +
                              std::to_string(command_byte) + ", identification reads " +
                              hex(identification));
    }
    if (identification != kIdentificationValue) {
        throw Kit::InputError(device + "another chip, identification reads " + hex(identification) +
                              ", not " + hex(kIdentificationValue));
    }
    const uint32_t major = extract(kMajorVersion, read(kVersion));
    if (major != kMajorVersionValue) {
        throw Kit::InputError(device + "version " + std::to_string(major) +
                              " of the chip, version " + std::to_string(kMajorVersionValue) +
                              " is known");
    }
    write(kScratch, kScratchPattern);
    const uint32_t scratch = read(kScratch);
    if (scratch != kScratchPattern) {
        throw Kit::InputError(device + "what is written does not arrive, scratch reads " +
                              hex(scratch) + ", not " + hex(kScratchPattern));
    }
}

void ChipInput::program(ChipSettings const& settings) {
    const uint32_t range_gate = insert(kNearest, hundredths(settings.nearest)) |
                                insert(kFarthest, hundredths(settings.farthest));
    const std::vector<Radar::RegisterSetting> registers = {
        {kReset, static_cast<int32_t>(kResetKey), 0},
        {kRangeGate, static_cast<int32_t>(range_gate), 0},
    };
    const std::vector<Radar::FieldSetting> fields = {
        {kMinimumSnr, static_cast<int32_t>(hundredths(settings.minimum_snr))},
        {kFrameRate, std::clamp(settings.frame_rate, 0, 255)},
        {kMaxTargets, std::clamp(settings.max_targets, 0, kTargetLimit)},
        {kEnable, 1},
    };
    chip_.write_registers(registers);
    chip_.write_fields(fields);
    counters_.writes += registers.size() + fields.size();
    // Each register that has fields was read once, DETECTION and CONTROL.
    counters_.reads += 2;
}

bool ChipInput::read_frame(RO::RadarObjects& frame) {
    if (!read_status()) return false;
    const uint32_t sequence = read(kSequence);
    if (sequence == last_sequence_) {
        // The bus does not tell whether a write has arrived: the last acknowledgement has not.
        write(kAcknowledge, sequence);
        return false;
    }
    if (!read_window(sequence, frame)) return false;
    write(kAcknowledge, sequence);
    last_sequence_ = sequence;
    ++counters_.frames;
    return true;
}

bool ChipInput::read_status() {
    const uint32_t status = read(kStatus);
    if ((status & ~known_status_bits()) != 0) {
        return fail(std::string(kDevice) + ": the chip does not answer, status reads " +
                    hex(status));
    }
    if (extract(kRunning, status) == 0) {
        return fail(std::string(kDevice) + ": the chip has stopped measuring, status reads " +
                    hex(status));
    }
    if (extract(kEvent, status) != 0) read_events();
    const bool ready = extract(kFrameReady, status) != 0;
    ended_ = extract(kInputEnded, status) != 0 && !ready;
    return ready;
}

void ChipInput::read_events() {
    const uint32_t events = read(kEvents);
    const bool overflow = extract(kOverflow, events) != 0;
    events_.interference |= extract(kInterference, events) != 0;
    events_.saturation |= extract(kSaturation, events) != 0;
    events_.overflow |= overflow;
    events_.cut |= extract(kCut, events) != 0;
    if (overflow) counters_.dropped = read(kDropped);
}

bool ChipInput::read_window(uint32_t sequence, RO::RadarObjects& frame) {
    frame.Clear();
    frame.set_magic(Kit::kFrameMagic);
    const uint32_t low = read(kTimestampLow);
    frame.set_timestamp(join_timestamp(low, read(kTimestampHigh)));
    const auto count = static_cast<int>(extract(kTargetCount, read(kFrame)));
    if (count > kTargetLimit) {
        return fail(std::string(kDevice) + ": a frame of " + std::to_string(count) +
                    " targets, the chip has room for " + std::to_string(kTargetLimit));
    }
    for (int i = 0; i < count; ++i) {
        TargetWords words = {};
        for (int word = 0; word < kRegistersPerTarget; ++word) {
            words[static_cast<size_t>(word)] = read(target_register(i, word));
        }
        *frame.add_targets() = unpack_target(words);
    }
    if (read(kSequence) == sequence) return true;
    ++counters_.torn;
    return false;
}

bool ChipInput::fail(std::string const& reason) {
    problem_ = reason;
    ++counters_.failures;
    return false;
}

}  // namespace Service
