#pragma once

#include <linux/spi/spidev.h>

#include <string>
#include <vector>

#include "radar/spi_radar_interface.h"
#include "support/system_calls.h"

namespace test_support {

/** A chip behind the SPI device: records what is sent and answers each read with `answer`. */
class FakeSpiDevice {
public:
    static constexpr int kFd = 1000;

    /** One message: the request, its transfers, and the bytes that each of them sent. */
    struct Message {
        int fd;
        unsigned long request;
        std::vector<spi_ioc_transfer> transfers;
        std::vector<std::string> sent;
    };

    FakeSpiDevice() {
        system_calls.open = [this](char const* path, int flags) {
            opened.push_back(path);
            open_flags = flags;
            return kFd;
        };
        system_calls.close = [this](int fd) {
            closed.push_back(fd);
            return 0;
        };
        system_calls.ioctl = [this](int fd, unsigned long request, void* argument) {
            return transfer(fd, request, static_cast<spi_ioc_transfer const*>(argument));
        };
    }

    /** What the chip answers in the transfers that receive. */
    std::string answer;
    /** The error that every message fails with; 0 for none. */
    int error = 0;

    std::vector<std::string> opened;
    int open_flags = -1;
    std::vector<int> closed;
    std::vector<Message> messages;

    SystemCalls system_calls;

private:
    int transfer(int fd, unsigned long request, spi_ioc_transfer const* transfers) {
        Message message = {fd, request, {}, {}};
        int total = 0;
        for (std::size_t i = 0; i < _IOC_SIZE(request) / sizeof(*transfers); ++i) {
            message.transfers.push_back(transfers[i]);
            message.sent.push_back(exchange(transfers[i]));
            total += static_cast<int>(transfers[i].len);
        }
        messages.push_back(message);
        errno = error;
        return error == 0 ? total : -1;
    }

    std::string exchange(spi_ioc_transfer const& transfer) const {
        if (transfer.rx_buf != 0 && error == 0) {
            auto* const received = reinterpret_cast<char*>(static_cast<uintptr_t>(transfer.rx_buf));
            answer.copy(received, transfer.len);
        }
        if (transfer.tx_buf == 0) return "";
        return {reinterpret_cast<char const*>(static_cast<uintptr_t>(transfer.tx_buf)),
                transfer.len};
    }
};

/** The transport with what it inherits laid open. */
class OpenedInterface : public Radar::SPIRadarInterface {
public:
    using RadarInterface::address_bytes;
    using RadarInterface::command_byte;
    using RadarInterface::data_bytes;
    using RadarInterface::fd;
    using RadarInterface::rx_buffer;
    using RadarInterface::tx_buffer;
    using SPIRadarInterface::SPIRadarInterface;
};

}  // namespace test_support
