#pragma once

#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "chip/client_memory.h"
#include "chip/radar_chip.h"
#include "chip/spi_slave.h"
#include "chip/spidev.h"
#include "kit/demo_chip/registers.h"
#include "tests/support/inside.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace tools_test {

constexpr char kMap[] = "/tmp/chip.map";

/** The demo chip, whose registers a test can bend, and that counts its traffic. */
class CountingChip : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++reads;
        const auto bent = answers.find(address);
        return bent != answers.end() ? bent->second : chip.read(address);
    }
    void write(uint16_t address, uint32_t value, uint32_t mask) override {
        ++writes;
        chip.write(address, value, mask);
    }

    Chip::RadarChip chip;
    std::unordered_map<uint16_t, uint32_t> answers;
    int reads = 0;
    int writes = 0;
};

/** The verbs on registers, with the chip on the other side of the library's system calls. */
class RegsTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file(kMap, Kit::DemoChip::register_map_text());
        calls_.open = [](char const* path, int flags) {
            const bool is_device = std::strcmp(path, "/dev/spidev0.0") == 0;
            return is_device ? kFd : test_support::real_open(path, flags);
        };
        calls_.close = [](int fd) { return fd == kFd ? 0 : test_support::real_close(fd); };
        calls_.ioctl = [this](int fd, unsigned long request, void* argument) {
            return fd == kFd ? transfer(static_cast<unsigned>(request), argument)
                             : test_support::real_ioctl(fd, request, argument);
        };
    }

    /** "petrelradar regs ..." with the demo chip's map. */
    static Outcome regs(std::vector<std::string> arguments, std::string const& input = "") {
        arguments.insert(arguments.begin(), "regs");
        arguments.insert(arguments.end(), {"--map", kMap});
        return run_inside(arguments, input);
    }

    /** The same with another map. */
    static Outcome regs_with_map(std::string const& map, std::vector<std::string> arguments) {
        test_support::write_file(kMap, map);
        return regs(std::move(arguments));
    }

    /** Lets the chip measure a frame, which raises a flag in its events. */
    void measure_disturbed_frame() {
        chip_.chip.write(0x0010, 0x00400001, 0xFFFFFFFF);
        chip_.chip.measure({}, {true, true});
    }

    int traffic() const { return chip_.reads + chip_.writes; }

    CountingChip chip_;
    test_support::SystemCalls calls_;

private:
    static constexpr int kFd = 1000;

    int transfer(unsigned request, void* argument) {
        auto const* bytes = static_cast<uint8_t const*>(argument);
        const Chip::Spidev::Reply reply =
            device_.control(request, {bytes, bytes + _IOC_SIZE(request)}, memory_);
        if (reply.result >= 0) return reply.result;
        errno = -reply.result;
        return -1;
    }

    Chip::SpiSlave slave_{chip_, Kit::DemoChip::kCommandByte};
    Chip::Spidev device_{slave_};
    Chip::ProcessMemory memory_{getpid()};
};

/** One run and what it gives. */
struct RegsCase {
    char const* name;
    std::vector<std::string> arguments;
    int status;
    std::string out;
    std::string err;
};

inline std::ostream& operator<<(std::ostream& os, RegsCase const& tested) {
    return os << tested.name;
}

}  // namespace tools_test
