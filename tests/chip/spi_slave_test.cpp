#include "chip/spi_slave.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/private_paths.h"

namespace {

using Bytes = std::vector<uint8_t>;

/** Registers that keep what is written and count what happens to them. */
class CountingRegisters : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++reads;
        return values[address];
    }
    void write(uint16_t address, uint32_t value, uint32_t mask) override {
        ++writes;
        values[address] = value;
        last_mask = mask;
    }

    std::map<uint16_t, uint32_t> values;
    int reads = 0;
    int writes = 0;
    uint32_t last_mask = 0;
};

class SpiSlaveTest : public testing::Test {
protected:
    /** Clocks a whole frame; returns what the slave answered. */
    Bytes frame(Bytes const& sent) {
        slave_.select();
        Bytes received = bytes(sent);
        slave_.deselect();
        return received;
    }

    Bytes bytes(Bytes const& sent) {
        Bytes received;
        for (const uint8_t byte : sent) received.push_back(slave_.exchange(byte));
        return received;
    }

    CountingRegisters registers_;
    Chip::SpiSlave slave_{registers_, 0x20};
};

TEST_F(SpiSlaveTest, AWriteFrameSetsTheRegister) {
    frame({0x20, 0x02, 0x01, 0x44, 0x33, 0x22, 0x11});
    EXPECT_EQ(registers_.values[0x0102], 0x11223344U);
    EXPECT_EQ(registers_.last_mask, 0xFFFFFFFFU);
}

TEST_F(SpiSlaveTest, AReadFrameIsAnsweredLeastSignificantByteFirst) {
    registers_.values[0x0102] = 0x11223344;
    EXPECT_EQ(frame({0x21, 0x02, 0x01, 0, 0, 0, 0}), (Bytes{0, 0, 0, 0x44, 0x33, 0x22, 0x11}));
}

TEST_F(SpiSlaveTest, ThePagesExampleIsWhatPasses) {
    const std::string page =
        test_support::read_file(std::string(PETRELRADAR_SOURCE_DIR) + "/docs/spi-frames.md");
    EXPECT_NE(page.find("host  20 10 00 01 1e 40 00"), std::string::npos);
    EXPECT_NE(page.find("host  21 10 00 00 00 00 00"), std::string::npos);
    EXPECT_NE(page.find("chip  00 00 00 01 1e 40 00"), std::string::npos);
    frame({0x20, 0x10, 0x00, 0x01, 0x1e, 0x40, 0x00});
    EXPECT_EQ(frame({0x21, 0x10, 0x00, 0, 0, 0, 0}), (Bytes{0, 0, 0, 0x01, 0x1e, 0x40, 0x00}));
}

TEST_F(SpiSlaveTest, AWriteTakesEffectWhenChipSelectIsReleased) {
    slave_.select();
    bytes({0x20, 0x02, 0x01, 0x44, 0x33, 0x22, 0x11});
    EXPECT_EQ(registers_.writes, 0);
    slave_.deselect();
    EXPECT_EQ(registers_.writes, 1);
}

TEST_F(SpiSlaveTest, AShortWriteTouchesTheBytesThatItHas) {
    frame({0x20, 0x02, 0x01, 0x44, 0x33});
    EXPECT_EQ(registers_.values[0x0102], 0x3344U);
    EXPECT_EQ(registers_.last_mask, 0x0000FFFFU);
}

TEST_F(SpiSlaveTest, BytesOfAWriteBeyondTheRegisterAreIgnored) {
    frame({0x20, 0x02, 0x01, 0x44, 0x33, 0x22, 0x91, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(registers_.values[0x0102], 0x91223344U);
    EXPECT_EQ(registers_.writes, 1);
}

TEST_F(SpiSlaveTest, BytesOfAReadBeyondTheRegisterAreZero) {
    registers_.values[1] = 0xFFFFFFFF;
    registers_.values[5] = 0xFFFFFFFF;
    EXPECT_EQ(frame({0x21, 1, 0, 0, 0, 0, 0, 0, 0}),
              (Bytes{0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0}));
}

TEST_F(SpiSlaveTest, AReadFrameReadsItsRegisterOnce) {
    frame({0x21, 0x02, 0x01, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(registers_.reads, 1);
    EXPECT_EQ(registers_.writes, 0);
}

TEST_F(SpiSlaveTest, ADataByteOfAReadIsNotWritten) {
    registers_.values[0x0102] = 0x11223344;
    frame({0x21, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(registers_.values[0x0102], 0x11223344U);
}

TEST_F(SpiSlaveTest, AReadWithoutDataBytesLeavesTheRegisterAlone) {
    frame({0x21, 0x02, 0x01});
    EXPECT_EQ(registers_.reads, 0);
}

TEST_F(SpiSlaveTest, AWriteWithoutDataBytesLeavesTheRegisterAlone) {
    frame({0x20, 0x02, 0x01});
    EXPECT_EQ(registers_.writes, 0);
}

TEST_F(SpiSlaveTest, AnEmptyFrameDoesNothing) {
    EXPECT_EQ(frame({}), Bytes());
    EXPECT_EQ(registers_.reads + registers_.writes, 0);
}

TEST_F(SpiSlaveTest, FramesOfAnotherCommandByteAreNotForThisChip) {
    registers_.values[0x0102] = 0x11223344;
    EXPECT_EQ(frame({0x41, 0x02, 0x01, 0, 0, 0, 0}), Bytes(7, 0));
    frame({0x40, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(registers_.reads + registers_.writes, 0);
}

TEST_F(SpiSlaveTest, AFrameThatBeginsAnewDropsTheOneUnderWay) {
    slave_.select();
    bytes({0x20, 0x02, 0x01, 0x44, 0x33, 0x22, 0x11});
    frame({0x21, 0x02, 0x01, 0, 0, 0, 0});
    EXPECT_EQ(registers_.writes, 0);
}

}  // namespace
