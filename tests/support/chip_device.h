#pragma once

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <unordered_map>

#include "chip/client_memory.h"
#include "chip/radar_chip.h"
#include "chip/register_file.h"
#include "chip/spi_slave.h"
#include "chip/spidev.h"
#include "kit/demo_chip/registers.h"
#include "tests/support/system_calls.h"

namespace test_support {

/** The demo chip with a count of its traffic, and with registers that a test can override. */
class CountingChip : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++reads;
        if (on_read) on_read(address);
        const auto answer = answers.find(address);
        return answer != answers.end() ? answer->second : chip.read(address);
    }
    void write(uint16_t address, uint32_t value, uint32_t mask) override {
        ++writes;
        if (address != deaf_address) chip.write(address, value, mask);
    }

    int traffic() const { return reads + writes; }

    /** Reads a field without counting. */
    uint32_t field(Radar::RadarField const& field) {
        return Kit::DemoChip::extract(field, chip.read(static_cast<uint16_t>(field.address)));
    }

    Chip::RadarChip chip;
    /** What registers answer in place of the chip. */
    std::unordered_map<uint16_t, uint32_t> answers;
    /** The register whose writes are lost. */
    int deaf_address = -1;
    std::function<void(uint16_t)> on_read;
    int reads = 0;
    int writes = 0;
};

/**
 * The demo chip behind "/dev/spidev0.0", in this process: while the object lives, the system calls
 * of the library reach the chip. One object at a time, as SystemCalls.
 */
class ChipDevice {
public:
    ChipDevice() {
        calls.open = [this](char const* path, int flags) {
            if (std::strcmp(path, "/dev/spidev0.0") != 0) return real_open(path, flags);
            ++opened;
            if (connected) return kFd;
            errno = ENODEV;
            return -1;
        };
        calls.close = [](int fd) { return fd == kFd ? 0 : real_close(fd); };
        calls.ioctl = [this](int fd, unsigned long request, void* argument) {
            return fd == kFd ? transfer(static_cast<unsigned>(request), argument)
                             : real_ioctl(fd, request, argument);
        };
    }

    /** Fails the `nth` message from now, counted from 1. */
    void fail_message(int nth) { fail_in_ = nth; }

    CountingChip chip;
    /** Whether the device can be opened and answers. */
    bool connected = true;
    /** How often it was opened, in vain or not. */
    int opened = 0;
    SystemCalls calls;

private:
    static constexpr int kFd = 1000;

    int transfer(unsigned request, void* argument) {
        if (fail_in_ > 0 && --fail_in_ == 0) {
            errno = EIO;
            return -1;
        }
        auto const* bytes = static_cast<uint8_t const*>(argument);
        const Chip::Spidev::Reply reply =
            connected ? device_.control(request, {bytes, bytes + _IOC_SIZE(request)}, memory_)
                      : Chip::Spidev::Reply{-ENOTCONN, {}};
        if (reply.result >= 0) return reply.result;
        errno = -reply.result;
        return -1;
    }

    Chip::SpiSlave slave_{chip, Kit::DemoChip::kCommandByte};
    Chip::Spidev device_{slave_};
    Chip::ProcessMemory memory_{getpid()};
    int fail_in_ = 0;
};

}  // namespace test_support
