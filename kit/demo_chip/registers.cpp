#include "kit/demo_chip/registers.h"

#include <fmt/core.h>

namespace Kit::DemoChip {

namespace {

uint32_t mask_of(Radar::RadarField const& field) {
    return field.width >= 32 ? ~0U : (1U << field.width) - 1U;
}

/** Appends the map's lines in order: a register, then its fields. */
class MapBuilder {
public:
    MapBuilder& add_register(std::string const& name, int32_t address, std::string const& access,
                             std::string const& description) {
        register_ = name;
        access_ = access;
        entries_.push_back({name, address, 0, 32, access, description});
        return *this;
    }

    MapBuilder& field(std::string const& name, Radar::RadarField const& field,
                      std::string const& description) {
        entries_.push_back({register_ + "." + name, field.address, field.shift, field.width,
                            access_, description});
        return *this;
    }

    std::vector<MapEntry> entries() { return std::move(entries_); }

private:
    std::vector<MapEntry> entries_;
    std::string register_;
    std::string access_;
};

void add_settings(MapBuilder& map) {
    map.add_register("identification", kIdentification, "r", "bytes \"PRD1\" on the bus");
    map.add_register("version", kVersion, "r", "version of the chip")
        .field("patch", kPatchVersion, "patch number")
        .field("minor", kMinorVersion, "minor number")
        .field("major", kMajorVersion, "major number; another one is another register map");
    map.add_register("scratch", kScratch, "rw", "keeps what is written, does nothing");
    map.add_register("reset", kReset, "w", "0x54455352 resets every register");
    map.add_register("control", kControl, "rw", "how the chip measures")
        .field("enable", kEnable, "1 while the chip measures")
        .field("frame_rate", kFrameRate, "frames a second; 0 leaves the pace to the chip")
        .field("max_targets", kMaxTargets, "most targets in a frame, up to 64");
    map.add_register("detection", kDetection, "rw", "which targets are reported")
        .field("minimum_snr", kMinimumSnr, "weakest snr in 0.01 dB; 0 reports all");
    map.add_register("range_gate", kRangeGate, "rw", "from where targets are reported")
        .field("nearest", kNearest, "nearest range in cm; 0 has no limit")
        .field("farthest", kFarthest, "farthest range in cm; 0 has no limit");
}

void add_state(MapBuilder& map) {
    map.add_register("status", kStatus, "r", "how the chip is doing")
        .field("frame_ready", kFrameReady, "a frame is in the window")
        .field("running", kRunning, "the chip measures")
        .field("event", kEvent, "events holds a flag")
        .field("input_ended", kInputEnded, "no more frames will come")
        .field("waiting", kWaiting, "frames to be read, the one in the window included");
    map.add_register("events", kEvents, "rc", "what has happened since the last read")
        .field("interference", kInterference, "another transmitter disturbed a frame")
        .field("saturation", kSaturation, "the receiver was saturated in a frame")
        .field("overflow", kOverflow, "a frame made way for a newer one before it was read")
        .field("cut", kCut, "a frame had more targets than it may have");
    map.add_register("dropped", kDropped, "r", "frames that were never read, since the reset");
    map.add_register("acknowledge", kAcknowledge, "w",
                     "sequence number of the frame that was read");
}

void add_window(MapBuilder& map) {
    map.add_register("sequence", kSequence, "r", "number of the frame, 1 after a reset");
    map.add_register("timestamp_low", kTimestampLow, "r", "time of the frame in us, low half");
    map.add_register("timestamp_high", kTimestampHigh, "r", "time of the frame in us, high half");
    map.add_register("frame", kFrame, "r", "what the window holds")
        .field("target_count", kTargetCount, "targets in the window")
        .field("interference", kFrameInterference, "the frame was disturbed")
        .field("saturation", kFrameSaturation, "the receiver was saturated")
        .field("cut", kFrameCut, "targets of the frame were dropped");
    for (int i = 0; i < kTargetLimit; ++i) {
        const std::string target = "target" + std::to_string(i);
        const int32_t first = target_register(i, 0);
        const int32_t second = target_register(i, 1);
        const int32_t third = target_register(i, 2);
        map.add_register(target + "_motion", first, "r", "range and speed")
            .field("range", {first, 0, 16}, "cm; 0xffff is not a number")
            .field("speed", {first, 16, 16}, "cm/s, signed, receding is positive");
        map.add_register(target + "_echo", second, "r", "bearing and cross-section")
            .field("bearing", {second, 0, 16}, "0.1 mrad, signed, right is positive")
            .field("rcs", {second, 16, 16}, "0.01 dB, signed");
        map.add_register(target + "_quality", third, "r", "signal and flags")
            .field("snr", {third, 0, 16}, "0.01 dB, signed")
            .field("options", {third, 16, 16}, "low half of the flag word");
    }
}

std::vector<MapEntry> make_register_map() {
    MapBuilder map;
    add_settings(map);
    add_state(map);
    add_window(map);
    return map.entries();
}

}  // namespace

uint32_t extract(Radar::RadarField const& field, uint32_t register_value) {
    return (register_value >> field.shift) & mask_of(field);
}

uint32_t insert(Radar::RadarField const& field, uint32_t value) {
    return (value & mask_of(field)) << field.shift;
}

std::vector<MapEntry> const& register_map() {
    static const std::vector<MapEntry> map = make_register_map();
    return map;
}

std::string register_map_text() {
    std::string text =
        "# Registers and fields of the demo chip, one a line. Access: r, w, rw, or rc where "
        "reading\n"
        "# changes the register.\n"
        "# name address shift width access description\n";
    for (MapEntry const& entry : register_map()) {
        text += fmt::format("{} {:#06x} {} {} {} {}\n", entry.name, entry.address, entry.shift,
                            entry.width, entry.access, entry.description);
    }
    return text;
}

}  // namespace Kit::DemoChip
