#pragma once

#include <cstdint>
#include <vector>

#include "petrelradar_export.h"
#include "radar/radar_interface.h"

namespace Radar {

/**
 * The registers of a radar chip on the SPI bus, reached through the kernel's "/dev/spidev0.0".
 *
 * Addresses have 2 bytes and registers 4, least significant byte first. Every transfer names its
 * own speed (500 kHz) and word size (8 bits); the SPI mode stays as the kernel has it. No retries,
 * and no time-outs beyond the kernel's. One thread at a time, since the transfer buffers are shared
 * by all operations.
 */
class PETRELRADAR_API SPIRadarInterface : public RadarInterface {
public:
    /**
     * Opens the device.
     *
     * @param unused accepted and ignored; the device is fixed.
     * @param command first byte of every write frame, of which the low 8 bits count; reads send
     *        it with bit 0 set.
     * @throws std::system_error "Could not open SPI device /dev/spidev0.0", with the system's
     *         reason.
     */
    SPIRadarInterface(int unused, int command);

    /**
     * Writes the low `length` bytes of `value` to the register at `address` in one message; 0 means
     * 4 bytes. `length` must not be above 7, the room in the transfer buffer.
     *
     * @throws std::system_error "SPI communication failed", with the system's reason; then the
     *         register's value is not known.
     * @throws std::length_error "vector::reserve" for a length of -4 or less.
     */
    void write_register(int address, int value, int length) const override;

    /**
     * Reads the register at `address`: one message of two transfers, under one chip select.
     *
     * @throws std::system_error "SPI communication failed", with the system's reason.
     */
    int read_register(int address) const override;

    /**
     * Returns a write frame: the command byte if `with_command` is set, 2 address bytes, and
     * `length` bytes of `data` (0 means 4, a negative length none; bytes beyond the fourth repeat
     * the sign).
     *
     * @throws std::length_error "vector::reserve" when the frame's size would be negative.
     */
    virtual std::vector<uint8_t> format_data(int address, int data, int length,
                                             bool with_command) const;
};

}  // namespace Radar
