// A program on the other side of the simulated chip's device, for the tests: reads and writes
// registers with the library's unmodified SPI transport. Each argument is one step; results are
// lines on standard output.

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "kit/demo_chip/registers.h"
#include "radar/spi_radar_interface.h"

namespace {

using Chip = Radar::SPIRadarInterface;

int number(std::string const& text) {
    return static_cast<int>(std::stoul(text, nullptr, 0));
}

/** "read:ADDRESS" prints a register. */
void read_register(Chip& chip, std::string const& argument) {
    std::printf("0x%08x\n", static_cast<unsigned>(chip.read_register(number(argument))));
}

/** "write:ADDRESS=VALUE" */
void write_register(Chip& chip, std::string const& argument) {
    const size_t sign = argument.find('=');
    chip.write_register(number(argument.substr(0, sign)), number(argument.substr(sign + 1)), 0);
}

/** "await:ADDRESS=VALUE" reads until the register has the value, within 10 s. */
void await(Chip& chip, std::string const& argument) {
    const size_t sign = argument.find('=');
    const int address = number(argument.substr(0, sign));
    const int value = number(argument.substr(sign + 1));
    for (int tries = 0; tries < 2000; ++tries) {
        if (chip.read_register(address) == value) return;
        usleep(5000);
    }
    throw std::runtime_error("register " + argument + " never came");
}

/** "check:ADDRESS=VALUE" reads a register many times, which has to have the value each time. */
void check(Chip& chip, std::string const& argument) {
    const size_t sign = argument.find('=');
    const int address = number(argument.substr(0, sign));
    const int value = number(argument.substr(sign + 1));
    for (int times = 0; times < 1000; ++times) {
        if (chip.read_register(address) != value) throw std::runtime_error("not " + argument);
    }
}

/** "measure:ADDRESS=TIMES" reads a register so many times and prints how long one took. */
void measure(Chip& chip, std::string const& argument) {
    const size_t sign = argument.find('=');
    const int address = number(argument.substr(0, sign));
    const int times = number(argument.substr(sign + 1));
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; ++i) chip.read_register(address);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    std::printf("%d reads, %.1f us a read, %.0f reads a second\n", times, taken.count() / times,
                times * 1e6 / taken.count());
}

/** "until-error:ADDRESS" reads until that fails, within 10 s; the read under way may fail alone. */
void read_until_error(Chip& chip, std::string const& argument) {
    std::printf("reading\n");
    std::fflush(stdout);
    for (int tries = 0; tries < 2000; ++tries) {
        try {
            chip.read_register(number(argument));
        } catch (std::system_error const&) {
            std::printf("the device is gone\n");
            return;
        }
        usleep(5000);
    }
    throw std::runtime_error("no error came");
}

/** What an ioctl of its own answers, as the kernel numbers errors. */
int answer(int fd, unsigned long request, void* argument) {
    const int result = ioctl(fd, request, argument);
    return result < 0 ? -errno : result;
}

spi_ioc_transfer transfer(void const* tx, void* rx, uint32_t length) {
    spi_ioc_transfer made = {};
    made.tx_buf = reinterpret_cast<uintptr_t>(tx);
    made.rx_buf = reinterpret_cast<uintptr_t>(rx);
    made.len = length;
    return made;
}

/** "raw:NAME" issues one request that the library never makes, and prints the answer. */
void raw_request(std::string const& name) {
    const int fd = open("/dev/spidev0.0", O_RDWR);
    static uint8_t buffer[8192];
    static uint8_t const* const nowhere = reinterpret_cast<uint8_t const*>(uintptr_t{16});
    int result = 0;
    if (name == "no-transfers") {
        result = answer(fd, _IOC(_IOC_WRITE, SPI_IOC_MAGIC, 0, 0), buffer);
    } else if (name == "foreign") {
        result = answer(fd, _IOR('Z', 1, int), buffer);
    } else if (name == "bad-tx") {
        spi_ioc_transfer bad = transfer(nowhere, nullptr, 7);
        result = answer(fd, SPI_IOC_MESSAGE(1), &bad);
    } else if (name == "bad-rx") {
        spi_ioc_transfer bad = transfer(nullptr, const_cast<uint8_t*>(nowhere), 7);
        result = answer(fd, SPI_IOC_MESSAGE(1), &bad);
    } else if (name == "bad-argument") {
        result = answer(fd, SPI_IOC_MESSAGE(1), const_cast<uint8_t*>(nowhere));
    } else if (name == "too-long") {
        spi_ioc_transfer bad = transfer(buffer, nullptr, 4097);
        result = answer(fd, SPI_IOC_MESSAGE(1), &bad);
    } else if (name == "longest") {
        spi_ioc_transfer longest = transfer(buffer, buffer, 4096);
        result = answer(fd, SPI_IOC_MESSAGE(1), &longest);
    } else if (name == "speed") {
        uint32_t speed = 0;
        result = answer(fd, SPI_IOC_RD_MAX_SPEED_HZ, &speed);
        if (result == 0) result = static_cast<int>(speed);
    } else {
        throw std::runtime_error("no such request: " + name);
    }
    std::printf("%d\n", result);
    close(fd);
}

volatile std::sig_atomic_t interrupts = 0;

void note_interrupt(int) {
    interrupts = interrupts + 1;
    static_cast<void>(!write(STDOUT_FILENO, "interrupt\n", 10));
}

/** "interrupts" prints a line for every SIGINT, and goes on for a while after the first. */
void note_interrupts() {
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    sigaction(SIGINT, &action, nullptr);
    std::printf("ready\n");
    std::fflush(stdout);
    while (interrupts == 0) usleep(5000);
    for (int i = 0; i < 20; ++i) usleep(5000);
}

void step(Chip& chip, std::string const& text) {
    const size_t colon = text.find(':');
    const std::string verb = text.substr(0, colon);
    const std::string argument = colon == std::string::npos ? "" : text.substr(colon + 1);
    if (verb == "read") {
        read_register(chip, argument);
    } else if (verb == "write") {
        write_register(chip, argument);
    } else if (verb == "await") {
        await(chip, argument);
    } else if (verb == "check") {
        check(chip, argument);
    } else if (verb == "measure") {
        measure(chip, argument);
    } else if (verb == "until-error") {
        read_until_error(chip, argument);
    } else if (verb == "raw") {
        raw_request(argument);
    } else if (verb == "interrupts") {
        note_interrupts();
    } else if (verb == "ignore-sigterm") {
        std::signal(SIGTERM, SIG_IGN);
    } else {
        throw std::runtime_error("no such step: " + text);
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Chip chip(0, Kit::DemoChip::kCommandByte);
        for (int i = 1; i < argc; ++i) step(chip, argv[i]);
        return 0;
    } catch (std::exception const& error) {
        std::cerr << error.what() << std::endl;
        return 1;
    }
}
