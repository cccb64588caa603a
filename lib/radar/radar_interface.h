#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "petrelradar_export.h"

namespace Radar {

/** A bit field inside one register of the chip: a plain value. */
struct PETRELRADAR_API RadarField {
    /**
     * The field of `bits` bits from `lowest_bit` on, of the register at `register_address`. Any
     * value is accepted; see RadarInterface for what out-of-range ones mean.
     */
    RadarField(int register_address, int lowest_bit, int bits);

    /** Address of the register. */
    int32_t address;
    /** Position of the field's lowest bit; 0 is the register's lowest. */
    int32_t shift;
    /** Number of bits; 32 and more are all bits from `shift` on. */
    int32_t width;
};

/** One entry of a batch of field writes. The field is not owned and must outlive the setting. */
struct FieldSetting {
    RadarField const& field;
    int32_t value;
};

/** One entry of a batch of register writes. `extra` is carried for the caller and not used. */
struct RegisterSetting {
    int32_t address;
    int32_t value;
    int32_t extra;
};

/**
 * Access to the registers and bit fields of a radar chip over a bus that a derived class supplies.
 *
 * Writing a field reads its register once and works from a cache of register values from then on;
 * reads and writes always go to the device. Owns the device descriptor, the transfer buffers and
 * the cache. One thread at a time. Neither copied nor moved.
 *
 * Reports nothing itself: what the derived class's read_register() and write_register() throw
 * passes through every operation.
 */
class PETRELRADAR_API RadarInterface {
public:
    /**
     * @param command base value of the byte in front of every bus frame.
     * @param size bytes of each of the two transfer buffers.
     * @throws std::bad_alloc when memory for the buffers runs out or `size` is negative.
     */
    RadarInterface(int command, int size);

    /** Frees the transfer buffers and closes the device. */
    virtual ~RadarInterface();

    RadarInterface(RadarInterface const&) = delete;
    RadarInterface& operator=(RadarInterface const&) = delete;

    /**
     * Writes one whole register: the low `length` bytes of `value`, 0 meaning `data_bytes`. Throws
     * when the bus fails.
     */
    virtual void write_register(int address, int value, int length) const = 0;

    /** Returns the value of one whole register, read from the device. Throws when the bus fails. */
    virtual int read_register(int address) const = 0;

    /**
     * Reads a register from the device and returns the bits of `field`. The cache is neither used
     * nor filled. A width of 32 or more bits does not mask the value.
     */
    virtual int read_field(RadarField const& field) const;

    /**
     * Writes `value` to the bits of `field`; bits of `value` above the field's width are dropped,
     * the register's other bits keep their cached values. Reads the register only when it is not in
     * the cache. The cache takes the new value before the bus does and keeps it when the bus fails.
     */
    virtual void write_field(RadarField const& field, int value);

    /** write_field() for each entry in order. A failure leaves the earlier entries written. */
    void write_fields(std::vector<FieldSetting> const& settings);

    /**
     * write_register() with the default length for each entry in order. A failure leaves the
     * earlier entries written. The cache is not touched: a register that it holds keeps its old
     * value there, and the next write_field() works from that one. See clear_cache().
     */
    void write_registers(std::vector<RegisterSetting> settings);

    /** Returns the cached value of a register, after reading it from the device if need be. */
    int populate_cache(int address);

    /** Forgets all cached values. */
    void clear_cache();

protected:
    /** Descriptor of the device; -1 until a derived class opens it. */
    int fd;
    /** Bytes of the address in a bus frame; 0 until a derived class sets it. */
    int address_bytes;
    /** Bytes of a register; 0 until a derived class sets it. */
    int data_bytes;
    int command_byte;

private:
    [[maybe_unused]] int buffer_size;

protected:
    /** The transfer buffers, of the size given at construction. */
    uint8_t* tx_buffer;
    uint8_t* rx_buffer;

private:
    std::unordered_map<int32_t, int32_t> cache;
};

}  // namespace Radar
