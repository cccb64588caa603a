#pragma once

#include <cstdint>

#include "chip/register_file.h"

namespace Chip {

/**
 * The chip's end of the SPI bus: takes the bytes that the host clocks out while chip select is low,
 * answers each with a byte, and reads and writes a register file by them. docs/spi-frames.md has
 * the frames.
 *
 * The register file is not owned and must outlive the slave. One thread at a time. A frame that is
 * not for this chip, or ends early, changes nothing and is answered with zeros.
 */
class SpiSlave {
public:
    /** @param command_byte first byte of a write frame for this chip; even, a read has bit 0 set.
     */
    SpiSlave(RegisterFile& registers, uint8_t command_byte);

    /** Chip select goes low: a frame begins. One that was under way is dropped. */
    void select();

    /** Clocks one byte both ways: takes the host's, returns the chip's. */
    uint8_t exchange(uint8_t received);

    /** Chip select goes high: the frame ends, and a write takes effect. */
    void deselect();

private:
    bool is_for_us() const;
    bool is_read() const;
    uint8_t exchange_data(uint8_t received, int position);

    RegisterFile& registers_;
    uint8_t command_byte_;
    int position_ = 0;
    uint8_t command_ = 0;
    uint16_t address_ = 0;
    uint32_t value_ = 0;
    uint32_t mask_ = 0;
};

}  // namespace Chip
