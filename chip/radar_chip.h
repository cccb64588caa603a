#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "chip/register_file.h"
#include "kit/demo_chip/frame.h"
#include "radar_objects/radar_objects.pb.h"

namespace Chip {

/**
 * The registers of the demo chip and what they do: settings, status, events and a window on the
 * oldest frame that was not read yet. kit/detections/chip_registers.h names the registers,
 * docs/demo-chip.md explains them.
 *
 * Holds up to Kit::DemoChip::kFrameDepth frames. The one in the window stays until the host
 * acknowledges it, so that it is never torn; when there is no room for a new frame, the oldest one
 * behind the window goes. One thread at a time.
 */
class RadarChip : public RegisterFile {
public:
    /** What disturbed a measurement. */
    struct Disturbance {
        bool interference = false;
        bool saturation = false;
    };

    uint32_t read(uint16_t address) override;
    void write(uint16_t address, uint32_t value, uint32_t mask) override;

    /** Whether the host has enabled the chip. */
    bool running() const;

    /** The frame rate that the host asks for, in Hz; 0 leaves the pace to the chip. */
    int frame_rate() const;

    /**
     * Ends a measurement: its targets, as far as the host's settings let them through, are the
     * newest frame. Nothing happens while the chip is not running.
     */
    void measure(RO::RadarObjects const& frame, Disturbance disturbance);

    /** Tells the host that no more frames will come. */
    void end_input();

private:
    struct Frame {
        uint32_t sequence = 0;
        uint64_t timestamp = 0;
        uint32_t info = 0;
        std::vector<Kit::DemoChip::TargetWords> targets;
    };

    void reset();
    void set_control(uint32_t value);
    void acknowledge(uint32_t sequence);
    bool is_reported(Kit::DemoChip::TargetWords const& target) const;
    /** Packs the targets that are reported; returns whether some had to be left out. */
    bool pack_targets(RO::RadarObjects const& frame, Frame& packed) const;
    void queue(Frame frame);
    uint32_t status() const;
    uint32_t take_events();
    uint32_t window_register(int32_t address) const;

    uint32_t scratch_ = 0;
    uint32_t control_ = Kit::DemoChip::kControlAtReset;
    uint32_t detection_ = 0;
    uint32_t range_gate_ = 0;
    uint32_t events_ = 0;
    uint32_t dropped_ = 0;
    uint32_t next_sequence_ = 1;
    bool input_ended_ = false;
    /** The front one is in the window. */
    std::deque<Frame> frames_;
};

}  // namespace Chip
