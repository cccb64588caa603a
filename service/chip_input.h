#pragma once

#include <cstdint>
#include <string>

#include "kit/demo_chip/registers.h"
#include "radar/spi_radar_interface.h"
#include "radar_objects/radar_objects.pb.h"

namespace Service {

/** What the chip is programmed with at start. Values beyond a register's range are limited to it.
 */
struct ChipSettings {
    /** First byte of a write frame for the chip; even. */
    int command_byte = Kit::DemoChip::kCommandByte;
    /** Frames a second, up to 255; 0 leaves the pace to the chip. */
    int frame_rate = 0;
    /** Most targets in a frame, up to 64. */
    int max_targets = Kit::DemoChip::kTargetLimit;
    /** Weakest target that is reported, in dB; 0 reports all. */
    double minimum_snr = 0;
    /** From where to where targets are reported, in m, up to 655.35; 0 has no limit. */
    double nearest = 0;
    double farthest = 0;
};

/** What the chip has flagged. */
struct ChipEvents {
    /** Another transmitter disturbed a frame. */
    bool interference = false;
    /** The receiver was saturated in a frame. */
    bool saturation = false;
    /** Frames made way for newer ones before they were read. */
    bool overflow = false;
    /** A frame had more targets than it may have. */
    bool cut = false;
};

/** Counts since the chip was programmed. */
struct ChipCounters {
    /** Register reads and writes that the bus has carried out. */
    uint64_t reads = 0;
    uint64_t writes = 0;
    /** Frames that poll() has returned. */
    uint64_t frames = 0;
    /** Frames that the chip has dropped because they were not read in time; it counts modulo 2^32.
     */
    uint32_t dropped = 0;
    /** Frames that were not whole, because somebody else took them from the chip's window. */
    uint64_t torn = 0;
    /** Calls of poll() that have failed; see ChipInput::problem(). */
    uint64_t failures = 0;
};

/**
 * Frames from the demo chip behind "/dev/spidev0.0", read register by register.
 *
 * Owns the device. One thread at a time. After a failed poll() the object is as usable as before: a
 * frame that was not read to its end is read again by the next call. A chip that has lost its
 * settings, or whose device is gone, needs a new object.
 */
class ChipInput {
public:
    /**
     * Opens the device, makes sure that it is a demo chip, resets it, and programs and enables it.
     *
     * @throws std::system_error "Could not open SPI device /dev/spidev0.0" or "SPI communication
     *         failed", with the system's reason.
     * @throws Kit::InputError when something else answers, another version of the chip, or nothing.
     */
    explicit ChipInput(ChipSettings const& settings);

    /**
     * Reads a frame from the chip, if there is one, and acknowledges it. One register read when
     * there is none; Kit::DemoChip::messages_per_frame() bus messages when there is. Ranges in m,
     * speeds in m/s, bearings in rad, rcs and snr in dB, the timestamp in us as the chip has it.
     *
     * Returns whether `frame` holds a new frame. Otherwise problem() tells whether the call has
     * failed, and `frame` is undefined.
     */
    bool poll(RO::RadarObjects& frame);

    /** Why the last poll() has failed, in one line; empty when it has not. */
    std::string const& problem() const { return problem_; }

    /** Whether the chip will have no more frames, as of the last poll(). */
    bool ended() const { return ended_; }

    /** What the chip has flagged since the last call. */
    ChipEvents take_events();

    ChipCounters const& counters() const { return counters_; }

private:
    uint32_t read(int32_t address);
    void write(int32_t address, uint32_t value);
    void identify(int command_byte);
    void program(ChipSettings const& settings);
    bool read_frame(RO::RadarObjects& frame);
    /** Whether a frame is ready; takes note of what else the status says. */
    bool read_status();
    void read_events();
    bool read_window(uint32_t sequence, RO::RadarObjects& frame);
    bool fail(std::string const& reason);

    Radar::SPIRadarInterface chip_;
    std::string problem_;
    bool ended_ = false;
    uint32_t last_sequence_ = 0;
    ChipEvents events_;
    ChipCounters counters_;
};

}  // namespace Service
