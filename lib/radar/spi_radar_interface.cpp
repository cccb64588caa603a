#include "radar/spi_radar_interface.h"

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "log/failure_report.h"
#include "radar/bits.h"

namespace Radar {

namespace {

constexpr int kBufferSize = 10;
constexpr uint32_t kSpeedHz = 500000;
constexpr uint16_t kDelayMicroseconds = 1;
constexpr uint8_t kBitsPerWord = 8;
/** Marks a read in the command byte. */
constexpr int kReadBit = 1;

uint64_t buffer_address(uint8_t const* buffer) {
    return reinterpret_cast<uintptr_t>(buffer);
}

spi_ioc_transfer make_transfer(uint8_t const* tx, uint8_t* rx, std::size_t length) {
    spi_ioc_transfer transfer = {};
    transfer.tx_buf = buffer_address(tx);
    transfer.rx_buf = buffer_address(rx);
    transfer.len = static_cast<uint32_t>(length);
    transfer.speed_hz = kSpeedHz;
    transfer.delay_usecs = kDelayMicroseconds;
    transfer.bits_per_word = kBitsPerWord;
    return transfer;
}

void transfer_message(int fd, unsigned long request, spi_ioc_transfer* transfers) {
    if (ioctl(fd, request, transfers) < 0) throw errno_exception(errno, "SPI communication failed");
}

}  // namespace

SPIRadarInterface::SPIRadarInterface(int /*unused*/, int command)
    : RadarInterface(command, kBufferSize) {
    const std::string path = "/dev/spidev0.0";
    fd = open(path.c_str(), O_RDWR);
    if (fd < 0) throw errno_exception(errno, "Could not open SPI device ", path);
    address_bytes = 2;
    data_bytes = 4;
}

std::vector<uint8_t> SPIRadarInterface::format_data(int address, int data, int length,
                                                    bool with_command) const {
    const int data_length = length == 0 ? data_bytes : length;
    const int64_t size = int64_t{address_bytes} + data_length + (with_command ? 1 : 0);
    std::vector<uint8_t> frame;
    frame.reserve(static_cast<std::size_t>(size));
    if (with_command) frame.push_back(static_cast<uint8_t>(command_byte & 0xFF));
    for (int i = 0; i < address_bytes; ++i) frame.push_back(byte_of(address, i));
    for (int i = 0; i < data_length; ++i) frame.push_back(byte_of(data, i));
    return frame;
}

void SPIRadarInterface::write_register(int address, int value, int length) const {
    const std::vector<uint8_t> frame = format_data(address, value, length, true);
    std::copy(frame.begin(), frame.end(), tx_buffer);
    spi_ioc_transfer transfer = make_transfer(tx_buffer, nullptr, frame.size());
    transfer_message(fd, SPI_IOC_MESSAGE(1), &transfer);
}

int SPIRadarInterface::read_register(int address) const {
    tx_buffer[0] = static_cast<uint8_t>((command_byte & 0xFF) | kReadBit);
    for (int i = 0; i < address_bytes; ++i) tx_buffer[1 + i] = byte_of(address, i);
    const auto request_length = static_cast<std::size_t>(address_bytes) + 1;
    spi_ioc_transfer transfers[2] = {
        make_transfer(tx_buffer, nullptr, request_length),
        make_transfer(nullptr, rx_buffer, static_cast<std::size_t>(data_bytes)),
    };
    transfer_message(fd, SPI_IOC_MESSAGE(2), transfers);

    uint32_t value = rx_buffer[0];
    for (int i = 1; i < data_bytes; ++i) value |= shift_left(rx_buffer[i], 8 * i);
    return static_cast<int32_t>(value);
}

}  // namespace Radar
