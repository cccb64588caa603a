#include "chip/spidev.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <vector>

#include "chip/client_memory.h"

namespace {

using Bytes = std::vector<uint8_t>;

class SomeRegisters : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++reads;
        return values[address];
    }
    void write(uint16_t address, uint32_t value, uint32_t) override { values[address] = value; }

    std::map<uint16_t, uint32_t> values;
    int reads = 0;
};

/** A message from this very process, whose memory the device then reaches into. */
class SpidevTest : public testing::Test {
protected:
    SpidevTest() { registers_.values[0x0010] = 0x11223344; }

    static spi_ioc_transfer transfer(void const* tx, void* rx, uint32_t length) {
        spi_ioc_transfer made = {};
        made.tx_buf = reinterpret_cast<uintptr_t>(tx);
        made.rx_buf = reinterpret_cast<uintptr_t>(rx);
        made.len = length;
        return made;
    }

    int message(std::vector<spi_ioc_transfer> const& transfers) {
        Bytes argument(transfers.size() * sizeof(spi_ioc_transfer));
        if (!argument.empty()) std::memcpy(argument.data(), transfers.data(), argument.size());
        const auto request = static_cast<unsigned>(
            _IOC(_IOC_WRITE, SPI_IOC_MAGIC, 0, static_cast<unsigned>(argument.size())));
        return control(request, argument).result;
    }

    Chip::Spidev::Reply control(unsigned long request, Bytes const& argument) {
        return device_.control(static_cast<unsigned>(request), argument, client_);
    }

    SomeRegisters registers_;
    Chip::SpiSlave slave_{registers_, 0x20};
    Chip::Spidev device_{slave_};
    Chip::ProcessMemory client_{getpid()};
    void* const nowhere_ = reinterpret_cast<void*>(uintptr_t{16});
};

TEST_F(SpidevTest, AMessageGivesTheSumOfItsLengths) {
    const Bytes request = {0x21, 0x10, 0x00};
    Bytes data(4);
    EXPECT_EQ(message({transfer(request.data(), nullptr, 3), transfer(nullptr, data.data(), 4)}),
              7);
    EXPECT_EQ(data, (Bytes{0x44, 0x33, 0x22, 0x11}));
}

TEST_F(SpidevTest, ATransferBothWaysBringsWhatItsOwnBytesAreAnswered) {
    const Bytes sent = {0x21, 0x10, 0x00, 0, 0, 0, 0};
    Bytes received(7, 0xEE);
    EXPECT_EQ(message({transfer(sent.data(), received.data(), 7)}), 7);
    EXPECT_EQ(received, (Bytes{0, 0, 0, 0x44, 0x33, 0x22, 0x11}));
}

TEST_F(SpidevTest, AWriteReachesTheRegister) {
    const Bytes sent = {0x20, 0x10, 0x00, 1, 2, 3, 4};
    EXPECT_EQ(message({transfer(sent.data(), nullptr, 7)}), 7);
    EXPECT_EQ(registers_.values[0x0010], 0x04030201U);
}

TEST_F(SpidevTest, TheChipIsDeselectedBetweenTransfersThatAskForIt) {
    const Bytes write = {0x20, 0x10, 0x00, 1, 2, 3, 4};
    const Bytes read = {0x21, 0x10, 0x00, 0, 0, 0, 0};
    Bytes received(7);
    spi_ioc_transfer first = transfer(write.data(), nullptr, 7);
    first.cs_change = 1;
    EXPECT_EQ(message({first, transfer(read.data(), received.data(), 7)}), 14);
    EXPECT_EQ(received, (Bytes{0, 0, 0, 1, 2, 3, 4}));
}

TEST_F(SpidevTest, TwoMessagesAreTwoFrames) {
    const Bytes request = {0x21, 0x10, 0x00};
    Bytes data(4, 0xEE);
    message({transfer(request.data(), nullptr, 3)});
    message({transfer(nullptr, data.data(), 4)});
    EXPECT_EQ(data, Bytes(4, 0));
}

TEST_F(SpidevTest, AMessageWithoutTransfersGivesZero) {
    EXPECT_EQ(message({}), 0);
}

TEST_F(SpidevTest, ATransferOfNoBytesGivesZero) {
    EXPECT_EQ(message({transfer(nullptr, nullptr, 0)}), 0);
}

TEST_F(SpidevTest, ALengthOf4096Passes) {
    Bytes buffer(4096);
    EXPECT_EQ(message({transfer(buffer.data(), buffer.data(), 4096)}), 4096);
}

TEST_F(SpidevTest, ALengthAbove4096IsRefused) {
    Bytes buffer(4097);
    EXPECT_EQ(message({transfer(buffer.data(), nullptr, 4097)}), -EMSGSIZE);
    EXPECT_EQ(message({transfer(nullptr, buffer.data(), 4097)}), -EMSGSIZE);
}

TEST_F(SpidevTest, LengthsThatTogetherAreAbove4096AreRefused) {
    Bytes buffer(4096);
    const spi_ioc_transfer half = transfer(buffer.data(), nullptr, 2049);
    EXPECT_EQ(message({half, half}), -EMSGSIZE);
}

TEST_F(SpidevTest, LengthsThatTogetherAreNoPositiveNumberAreRefused) {
    const spi_ioc_transfer longest = transfer(nullptr, nullptr, 0x7FFFFFFF);
    EXPECT_EQ(message({longest}), 0x7FFFFFFF);
    EXPECT_EQ(message({longest, transfer(nullptr, nullptr, 1)}), -EMSGSIZE);
}

TEST_F(SpidevTest, ABadTransmitBufferIsAFaultAndNothingIsSent) {
    EXPECT_EQ(message({transfer(nowhere_, nullptr, 7)}), -EFAULT);
    EXPECT_EQ(registers_.reads, 0);
}

TEST_F(SpidevTest, ABadReceiveBufferIsAFaultAfterTheTransfer) {
    const Bytes request = {0x21, 0x10, 0x00};
    EXPECT_EQ(message({transfer(request.data(), nullptr, 3), transfer(nullptr, nowhere_, 4)}),
              -EFAULT);
    EXPECT_EQ(registers_.reads, 1);
}

TEST_F(SpidevTest, ABufferThatRunsIntoAHoleIsAFault) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* pages =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(munmap(static_cast<char*>(pages) + page, page), 0);
    EXPECT_EQ(message({transfer(static_cast<char*>(pages) + page - 3, nullptr, 7)}), -EFAULT);
    munmap(pages, page);
}

TEST_F(SpidevTest, AnArgumentThatIsNoWholeNumberOfTransfersIsInvalid) {
    EXPECT_EQ(control(_IOC(_IOC_WRITE, SPI_IOC_MAGIC, 0, 33), Bytes(33)).result, -EINVAL);
}

TEST_F(SpidevTest, AForeignRequestIsNotATypewriter) {
    EXPECT_EQ(control(_IO('Z', 0), {}).result, -ENOTTY);
    EXPECT_EQ(control(_IO(SPI_IOC_MAGIC, 99), {}).result, -ENOTTY);
    EXPECT_EQ(control(_IOC(_IOC_READ, SPI_IOC_MAGIC, 0, 32), {}).result, -ENOTTY);
}

TEST_F(SpidevTest, WordSizeAndSpeedOfATransferAreAccepted) {
    const Bytes sent = {0x20, 0x10, 0x00, 1, 2, 3, 4};
    spi_ioc_transfer unusual = transfer(sent.data(), nullptr, 7);
    unusual.bits_per_word = 7;
    unusual.speed_hz = 1000000000;
    EXPECT_EQ(message({unusual}), 7);
}

TEST_F(SpidevTest, SettingsOfTheBusAreKept) {
    EXPECT_EQ(control(SPI_IOC_RD_BITS_PER_WORD, {}).argument, Bytes{8});
    EXPECT_EQ(control(SPI_IOC_RD_MAX_SPEED_HZ, {}).argument, (Bytes{0x20, 0xA1, 0x07, 0x00}));
    EXPECT_EQ(control(SPI_IOC_WR_MODE, {3}).result, 0);
    EXPECT_EQ(control(SPI_IOC_RD_MODE, {}).argument, Bytes{3});
    EXPECT_EQ(control(SPI_IOC_RD_MODE32, {}).argument, (Bytes{3, 0, 0, 0}));
}

TEST_F(SpidevTest, APlainWriteIsOneFrame) {
    const Bytes sent = {0x20, 0x10, 0x00, 1, 2, 3, 4};
    device_.write(sent.data(), sent.size());
    EXPECT_EQ(registers_.values[0x0010], 0x04030201U);
}

TEST_F(SpidevTest, APlainReadClocksOutZeros) {
    EXPECT_EQ(device_.read(7), Bytes(7, 0));
    EXPECT_EQ(registers_.reads, 0);
}

TEST(ProcessMemory, OfAProcessThatIsGoneIsAnError) {
    Chip::ProcessMemory nobody(0x3FFFFFFF);
    Bytes bytes(1);
    EXPECT_EQ(nobody.fetch({{bytes.data(), 1}}, bytes), ESRCH);
    EXPECT_EQ(nobody.store({{bytes.data(), 1}}, bytes), ESRCH);
}

}  // namespace
