#include "chip/spidev.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace Chip {

namespace {

/** Requests as the FUSE protocol has them, 32 bits wide. */
constexpr unsigned request_number(unsigned long request) {
    return static_cast<unsigned>(request);
}

bool is_message(unsigned request) {
    return _IOC_TYPE(request) == SPI_IOC_MAGIC && _IOC_DIR(request) == _IOC_WRITE &&
           _IOC_NR(request) == _IOC_NR(SPI_IOC_MESSAGE(1));
}

/** The place of a buffer in the client's memory; it is not ours to follow. */
iovec client_piece(uint64_t address, uint32_t size) {
    return {reinterpret_cast<void*>(static_cast<uintptr_t>(address)), size};
}

/** 0, or the driver's error for lengths that it has no room for. */
int check_lengths(std::vector<spi_ioc_transfer> const& transfers) {
    uint64_t total = 0;
    uint64_t sent = 0;
    uint64_t received = 0;
    for (spi_ioc_transfer const& transfer : transfers) {
        total += transfer.len;
        if (transfer.tx_buf != 0) sent += transfer.len;
        if (transfer.rx_buf != 0) received += transfer.len;
    }
    const bool fits =
        total <= INT_MAX && sent <= Spidev::kBufferSize && received <= Spidev::kBufferSize;
    return fits ? 0 : -EMSGSIZE;
}

/** A transfer without buffers may be 2 GiB long; past its frame the slave takes no notice of zeros.
 */
size_t clocked_bytes(spi_ioc_transfer const& transfer) {
    return std::min<size_t>(transfer.len, Spidev::kBufferSize);
}

template <class Value>
Spidev::Reply answer(Value value) {
    Spidev::Reply reply;
    reply.argument.resize(sizeof value);
    std::memcpy(reply.argument.data(), &value, sizeof value);
    return reply;
}

template <class Value>
Spidev::Reply keep(std::vector<uint8_t> const& argument, Value& value) {
    if (argument.size() != sizeof value) return {-EINVAL, {}};
    std::memcpy(&value, argument.data(), sizeof value);
    return {};
}

}  // namespace

Spidev::Spidev(SpiSlave& slave) : slave_(slave) {}

Spidev::Reply Spidev::control(unsigned request, std::vector<uint8_t> const& argument,
                              ClientMemory& client) {
    if (is_message(request)) return {message(argument, client), {}};
    switch (request) {
        case request_number(SPI_IOC_RD_MODE):
            return answer(static_cast<uint8_t>(mode_));
        case request_number(SPI_IOC_RD_MODE32):
            return answer(mode_);
        case request_number(SPI_IOC_RD_LSB_FIRST):
            return answer(lsb_first_);
        case request_number(SPI_IOC_RD_BITS_PER_WORD):
            return answer(bits_per_word_);
        case request_number(SPI_IOC_RD_MAX_SPEED_HZ):
            return answer(speed_hz_);
        case request_number(SPI_IOC_WR_MODE): {
            uint8_t mode = 0;
            Reply reply = keep(argument, mode);
            if (reply.result == 0) mode_ = mode;
            return reply;
        }
        case request_number(SPI_IOC_WR_MODE32):
            return keep(argument, mode_);
        case request_number(SPI_IOC_WR_LSB_FIRST):
            return keep(argument, lsb_first_);
        case request_number(SPI_IOC_WR_BITS_PER_WORD):
            return keep(argument, bits_per_word_);
        case request_number(SPI_IOC_WR_MAX_SPEED_HZ):
            return keep(argument, speed_hz_);
        default:
            return {-ENOTTY, {}};
    }
}

std::vector<uint8_t> Spidev::read(size_t size) {
    std::vector<uint8_t> received(size);
    slave_.select();
    for (uint8_t& byte : received) byte = slave_.exchange(0);
    slave_.deselect();
    return received;
}

void Spidev::write(uint8_t const* bytes, size_t size) {
    slave_.select();
    for (size_t i = 0; i < size; ++i) slave_.exchange(bytes[i]);
    slave_.deselect();
}

int Spidev::message(std::vector<uint8_t> const& argument, ClientMemory& client) {
    if (argument.size() % sizeof(spi_ioc_transfer) != 0) return -EINVAL;
    std::vector<spi_ioc_transfer> transfers(argument.size() / sizeof(spi_ioc_transfer));
    if (transfers.empty()) return 0;
    std::memcpy(transfers.data(), argument.data(), argument.size());
    const int problem = check_lengths(transfers);
    return problem != 0 ? problem : transfer(transfers, client);
}

int Spidev::transfer(std::vector<spi_ioc_transfer> const& transfers, ClientMemory& client) {
    std::vector<iovec> sources;
    std::vector<iovec> targets;
    int total = 0;
    for (spi_ioc_transfer const& transfer : transfers) {
        if (transfer.tx_buf != 0) sources.push_back(client_piece(transfer.tx_buf, transfer.len));
        if (transfer.rx_buf != 0) targets.push_back(client_piece(transfer.rx_buf, transfer.len));
        total += static_cast<int>(transfer.len);
    }
    std::vector<uint8_t> sent;
    if (const int error = client.fetch(sources, sent)) return -error;
    // As on a real bus the bytes have passed by the time a bad receive buffer is noticed.
    const std::vector<uint8_t> received = clock(transfers, sent);
    if (const int error = client.store(targets, received)) return -error;
    return total;
}

std::vector<uint8_t> Spidev::clock(std::vector<spi_ioc_transfer> const& transfers,
                                   std::vector<uint8_t> const& sent) {
    std::vector<uint8_t> received;
    size_t next = 0;
    slave_.select();
    for (spi_ioc_transfer const& transfer : transfers) {
        for (size_t i = 0; i < clocked_bytes(transfer); ++i) {
            const uint8_t answer = slave_.exchange(transfer.tx_buf != 0 ? sent[next++] : 0);
            if (transfer.rx_buf != 0) received.push_back(answer);
        }
        if (transfer.cs_change != 0) {
            slave_.deselect();
            slave_.select();
        }
    }
    slave_.deselect();
    return received;
}

}  // namespace Chip
