#pragma once

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "chip/client_memory.h"
#include "chip/radar_chip.h"
#include "chip/spi_slave.h"
#include "chip/spidev.h"
#include "kit/base/input_error.h"
#include "service/chip_input.h"
#include "tests/support/system_calls.h"

namespace service_test {

constexpr uint32_t kAllOnes = 0xFFFFFFFF;

/** A demo chip whose registers a test can bend, and that counts its traffic. */
class BentChip : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++messages;
        if (on_read) on_read(address);
        const auto bent = answers.find(address);
        return bent != answers.end() ? bent->second : chip.read(address);
    }
    void write(uint16_t address, uint32_t value, uint32_t mask) override {
        ++messages;
        if (address == deaf_address) return;
        chip.write(address, value, mask);
    }

    /** Reads a register without counting. */
    uint32_t look(Radar::RadarField const& field) {
        return Kit::DemoChip::extract(field, chip.read(static_cast<uint16_t>(field.address)));
    }

    Chip::RadarChip chip;
    std::unordered_map<uint16_t, uint32_t> answers;
    int deaf_address = -1;
    std::function<void(uint16_t)> on_read;
    int messages = 0;
};

/** The chip on the other side of the system calls that the library makes. */
class ChipInputTest : public testing::Test {
protected:
    ChipInputTest() {
        calls_.open = [](char const*, int) { return kFd; };
        calls_.close = [](int fd) { return fd == kFd ? 0 : test_support::real_close(fd); };
        calls_.ioctl = [this](int, unsigned long request, void* argument) {
            return transfer(static_cast<unsigned>(request), argument);
        };
    }

    void open(Service::ChipSettings const& settings = {}) {
        input_ = std::make_unique<Service::ChipInput>(settings);
        registers_.messages = 0;
    }

    /** Why opening was refused, in one line. */
    std::string refusal() {
        try {
            open();
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "none";
    }

    void measure(std::vector<float> const& ranges, uint64_t timestamp = 0,
                 Chip::RadarChip::Disturbance disturbance = {}) {
        RO::RadarObjects frame;
        frame.set_timestamp(timestamp);
        for (const float range : ranges) frame.add_targets()->set_r(range);
        registers_.chip.measure(frame, disturbance);
    }

    bool poll() { return input_->poll(frame_); }

    /** Fails the `nth` message from now, counted from 1. */
    void fail_message(int nth) { fail_in_ = nth; }

    BentChip registers_;
    Chip::SpiSlave slave_{registers_, Kit::DemoChip::kCommandByte};
    Chip::Spidev device_{slave_};
    Chip::ProcessMemory memory_{getpid()};
    test_support::SystemCalls calls_;
    std::unique_ptr<Service::ChipInput> input_;
    RO::RadarObjects frame_;

private:
    static constexpr int kFd = 1000;

    int transfer(unsigned request, void* argument) {
        if (fail_in_ > 0 && --fail_in_ == 0) {
            errno = EIO;
            return -1;
        }
        auto const* bytes = static_cast<uint8_t const*>(argument);
        const Chip::Spidev::Reply reply =
            device_.control(request, {bytes, bytes + _IOC_SIZE(request)}, memory_);
        if (reply.result >= 0) return reply.result;
        errno = -reply.result;
        return -1;
    }

    int fail_in_ = 0;
};

}  // namespace service_test
