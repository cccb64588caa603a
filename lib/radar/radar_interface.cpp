#include "radar/radar_interface.h"

#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "radar/bits.h"

namespace Radar {

RadarField::RadarField(int register_address, int lowest_bit, int bits)
    : address(register_address), shift(lowest_bit), width(bits) {}

RadarInterface::RadarInterface(int command, int size)
    : fd(-1),
      address_bytes(0),
      data_bytes(0),
      command_byte(command),
      buffer_size(size),
      tx_buffer(nullptr),
      rx_buffer(nullptr) {
    const auto bytes = static_cast<std::size_t>(size);
    std::unique_ptr<uint8_t[]> tx(new uint8_t[bytes]);
    rx_buffer = new uint8_t[bytes];
    tx_buffer = tx.release();
}

RadarInterface::~RadarInterface() {
    delete[] rx_buffer;
    delete[] tx_buffer;
    close(fd);
}

int RadarInterface::read_field(RadarField const& field) const {
    const int32_t value = read_register(field.address);
    const auto shifted = static_cast<uint32_t>(shift_right(value, field.shift));
    return static_cast<int32_t>(shifted & low_bits(field.width));
}

void RadarInterface::write_field(RadarField const& field, int value) {
    const uint32_t mask = shift_left(low_bits(field.width), field.shift);
    const auto old_value = static_cast<uint32_t>(populate_cache(field.address));
    const uint32_t bits = shift_left(static_cast<uint32_t>(value), field.shift) & mask;
    const auto new_value = static_cast<int32_t>((old_value & ~mask) | bits);
    // Before the bus, and kept when the bus fails: callers retry a field from the value they meant.
    cache[field.address] = new_value;
    write_register(field.address, new_value, 0);
}

void RadarInterface::write_fields(std::vector<FieldSetting> const& settings) {
    for (FieldSetting const& setting : settings) write_field(setting.field, setting.value);
}

void RadarInterface::write_registers(std::vector<RegisterSetting> settings) {
    for (RegisterSetting const& setting : settings) {
        write_register(setting.address, setting.value, 0);
    }
}

int RadarInterface::populate_cache(int address) {
    try {
        return cache.at(address);
    } catch (std::out_of_range const&) {
        const int value = read_register(address);
        cache[address] = value;
        return value;
    }
}

void RadarInterface::clear_cache() {
    cache.clear();
}

}  // namespace Radar
