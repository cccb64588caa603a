#include "chip/spi_slave.h"

namespace Chip {

namespace {

constexpr uint8_t kReadBit = 1;
constexpr int kHeaderBytes = 3;
constexpr int kDataBytes = 4;

}  // namespace

SpiSlave::SpiSlave(RegisterFile& registers, uint8_t command_byte)
    : registers_(registers), command_byte_(command_byte) {}

void SpiSlave::select() {
    position_ = 0;
    command_ = 0;
    address_ = 0;
    value_ = 0;
    mask_ = 0;
}

uint8_t SpiSlave::exchange(uint8_t received) {
    const int position = position_;
    // Stops counting where a frame has no more bytes of its own, however long the host goes on.
    if (position < kHeaderBytes + kDataBytes) ++position_;
    switch (position) {
        case 0:
            command_ = received;
            return 0;
        case 1:
            address_ = received;
            return 0;
        case 2:
            address_ = static_cast<uint16_t>(address_ | (received << 8));
            return 0;
        default:
            return exchange_data(received, position - kHeaderBytes);
    }
}

uint8_t SpiSlave::exchange_data(uint8_t received, int position) {
    if (!is_for_us() || position >= kDataBytes) return 0;
    const int shift = 8 * position;
    if (is_read()) {
        // All four bytes come from one moment, that of the first.
        if (position == 0) value_ = registers_.read(address_);
        return static_cast<uint8_t>((value_ >> shift) & 0xFF);
    }
    value_ |= uint32_t{received} << shift;
    mask_ |= uint32_t{0xFF} << shift;
    return 0;
}

void SpiSlave::deselect() {
    if (mask_ != 0) registers_.write(address_, value_, mask_);
    select();
}

bool SpiSlave::is_for_us() const {
    return (command_ & ~kReadBit) == command_byte_;
}

bool SpiSlave::is_read() const {
    return (command_ & kReadBit) != 0;
}

}  // namespace Chip
