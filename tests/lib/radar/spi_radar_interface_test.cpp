#include "radar/spi_radar_interface.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "lib/hex.h"
#include "lib/radar/fake_spi_device.h"
#include "lib/virtual_slots.h"

namespace {

using Radar::RadarField;
using Radar::SPIRadarInterface;
using test_support::bytes;
using test_support::fails_with;
using test_support::FakeSpiDevice;
using test_support::hex;
using test_support::OpenedInterface;
using test_support::slot_of;
using testing::ElementsAre;
using testing::IsEmpty;

/** What an action throws; an empty failure when it throws nothing. */
template <typename Action>
std::system_error failure_of(Action action) {
    try {
        action();
    } catch (std::system_error const& failure) {
        return failure;
    }
    return std::system_error(std::error_code());
}

std::string reason(int error) {
    return std::system_category().message(error);
}

/** A transfer of the interface's speed, delay and word size. */
spi_ioc_transfer expected_transfer(uint8_t const* tx, uint8_t const* rx, uint32_t length) {
    spi_ioc_transfer transfer;
    std::memset(&transfer, 0, sizeof(transfer));
    transfer.tx_buf = reinterpret_cast<uintptr_t>(tx);
    transfer.rx_buf = reinterpret_cast<uintptr_t>(rx);
    transfer.len = length;
    transfer.speed_hz = 500000;
    transfer.delay_usecs = 1;
    transfer.bits_per_word = 8;
    return transfer;
}

std::string raw(spi_ioc_transfer const& transfer) {
    return hex(std::string(reinterpret_cast<char const*>(&transfer), sizeof(transfer)));
}

class SPIRadarInterfaceTest : public testing::Test {
protected:
    FakeSpiDevice device;
    OpenedInterface radar{0, 0x20};
};

TEST_F(SPIRadarInterfaceTest, AddsOneVirtualOperationAfterTheInheritedOnes) {
    EXPECT_EQ(slot_of(&SPIRadarInterface::write_register), 2);
    EXPECT_EQ(slot_of(&SPIRadarInterface::read_register), 3);
    EXPECT_EQ(slot_of(&SPIRadarInterface::read_field), 4);
    EXPECT_EQ(slot_of(&SPIRadarInterface::write_field), 5);
    EXPECT_EQ(slot_of(&SPIRadarInterface::format_data), 6);
}

TEST_F(SPIRadarInterfaceTest, AddsNoData) {
    EXPECT_EQ(sizeof(SPIRadarInterface), sizeof(Radar::RadarInterface));
}

TEST_F(SPIRadarInterfaceTest, OpensTheDeviceForReadingAndWritingAndSetsNothingUp) {
    EXPECT_THAT(device.opened, ElementsAre("/dev/spidev0.0"));
    EXPECT_EQ(device.open_flags, O_RDWR);
    EXPECT_THAT(device.messages, IsEmpty());
}

TEST_F(SPIRadarInterfaceTest, HoldsTheDeviceAndItsWidths) {
    EXPECT_EQ(radar.fd, FakeSpiDevice::kFd);
    EXPECT_EQ(radar.address_bytes, 2);
    EXPECT_EQ(radar.data_bytes, 4);
    EXPECT_EQ(radar.command_byte, 0x20);
}

TEST_F(SPIRadarInterfaceTest, TransferBuffersHaveTenBytes) {
    std::memset(radar.tx_buffer, 1, 10);
    std::memset(radar.rx_buffer, 2, 10);
    radar.write_register(0, 0, 7);
    EXPECT_EQ(device.messages.back().sent[0].size(), 10U);
    EXPECT_EQ(radar.rx_buffer[9], 2);
}

TEST_F(SPIRadarInterfaceTest, TheFirstArgumentDoesNotCount) {
    for (const int argument : {-1, 1, 7, std::numeric_limits<int>::max()}) {
        const SPIRadarInterface other(argument, 0x20);
        EXPECT_EQ(device.opened.back(), "/dev/spidev0.0");
    }
}

TEST_F(SPIRadarInterfaceTest, DescriptorZeroIsADevice) {
    device.system_calls.open = [](char const*, int) { return 0; };
    const OpenedInterface other(0, 0x20);
    EXPECT_EQ(other.fd, 0);
}

TEST_F(SPIRadarInterfaceTest, DestructionClosesTheDevice) {
    { const SPIRadarInterface other(0, 0x20); }
    EXPECT_THAT(device.closed, ElementsAre(FakeSpiDevice::kFd));
}

TEST_F(SPIRadarInterfaceTest, ADeviceThatCannotBeOpenedIsThrown) {
    device.system_calls.open = fails_with(EACCES);
    const auto failure = failure_of([] { SPIRadarInterface(0, 0x20); });
    EXPECT_EQ(failure.code(), std::error_code(EACCES, std::system_category()));
    EXPECT_EQ(failure.what(), "Could not open SPI device /dev/spidev0.0: " + reason(EACCES));
    EXPECT_THAT(device.closed, ElementsAre(-1)) << "the base part is destroyed";
}

TEST_F(SPIRadarInterfaceTest, AWriteFrameIsCommandAddressAndValueLeastSignificantFirst) {
    radar.write_register(0x0102, 0x11223344, 0);
    ASSERT_EQ(device.messages.size(), 1U);
    EXPECT_EQ(hex(device.messages[0].sent[0]), "20 02 01 44 33 22 11");
}

TEST_F(SPIRadarInterfaceTest, AWriteIsOneMessageOfOneTransferFromTheTransmitBuffer) {
    radar.write_register(0x0102, 0x11223344, 0);
    FakeSpiDevice::Message const& message = device.messages.at(0);
    EXPECT_EQ(message.fd, FakeSpiDevice::kFd);
    EXPECT_EQ(message.request, 0x40206b00UL);
    ASSERT_EQ(message.transfers.size(), 1U);
    EXPECT_EQ(raw(message.transfers[0]), raw(expected_transfer(radar.tx_buffer, nullptr, 7)));
}

TEST_F(SPIRadarInterfaceTest, AShortWriteSendsTheLowBytes) {
    radar.write_register(0x0102, 0x11223344, 2);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "20 02 01 44 33");
    EXPECT_EQ(device.messages[0].transfers[0].len, 5U);
}

TEST_F(SPIRadarInterfaceTest, TheLongestWriteRepeatsTheSign) {
    radar.write_register(0x0102, -2, 7);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "20 02 01 FE FF FF FF FF FF FF");
}

TEST_F(SPIRadarInterfaceTest, AnOddCommandByteIsWrittenUnchanged) {
    OpenedInterface(0, 0x21).write_register(0, 0, 1);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "21 00 00 00");
}

TEST_F(SPIRadarInterfaceTest, AnOddCommandByteIsReadWithUnchanged) {
    OpenedInterface(0, 0x21).read_register(0);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "21 00 00");
}

TEST_F(SPIRadarInterfaceTest, OnlyTheLowBitsOfTheCommandByteCount) {
    const OpenedInterface other(0, 0x7FFFFF30);
    other.write_register(0, 0, 1);
    other.read_register(0);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "30 00 00 00");
    EXPECT_EQ(hex(device.messages.at(1).sent[0]), "31 00 00");
}

TEST_F(SPIRadarInterfaceTest, AFailedWriteIsThrown) {
    device.error = EIO;
    const auto failure = failure_of([this] { radar.write_register(1, 2, 0); });
    EXPECT_EQ(failure.code(), std::error_code(EIO, std::system_category()));
    EXPECT_EQ(failure.what(), "SPI communication failed: " + reason(EIO));
    EXPECT_EQ(device.messages.size(), 1U) << "no retry";
}

TEST_F(SPIRadarInterfaceTest, AReadIsOneMessageOfTwoTransfers) {
    radar.read_register(0x0102);
    FakeSpiDevice::Message const& message = device.messages.at(0);
    EXPECT_EQ(message.fd, FakeSpiDevice::kFd);
    EXPECT_EQ(message.request, 0x40406b00UL);
    ASSERT_EQ(message.transfers.size(), 2U);
    EXPECT_EQ(raw(message.transfers[0]), raw(expected_transfer(radar.tx_buffer, nullptr, 3)));
    EXPECT_EQ(raw(message.transfers[1]), raw(expected_transfer(nullptr, radar.rx_buffer, 4)));
}

TEST_F(SPIRadarInterfaceTest, AReadSendsTheCommandWithItsLowestBitSetAndTheAddress) {
    radar.read_register(0x0102);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "21 02 01");
}

TEST_F(SPIRadarInterfaceTest, AReadSendsTheLowBytesOfANegativeAddress) {
    radar.read_register(-2);
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "21 FE FF");
}

TEST_F(SPIRadarInterfaceTest, ARegisterIsReadLeastSignificantByteFirst) {
    device.answer = bytes("44 33 22 11");
    EXPECT_EQ(radar.read_register(0), 0x11223344);
}

TEST_F(SPIRadarInterfaceTest, ARegisterWithItsHighestBitSetIsNegative) {
    device.answer = bytes("FE FF FF FF");
    EXPECT_EQ(radar.read_register(0), -2);
}

TEST_F(SPIRadarInterfaceTest, NarrowerRegistersAreReadWithoutASign) {
    device.answer = bytes("FF FE FD FC");
    radar.data_bytes = 3;
    EXPECT_EQ(radar.read_register(0), 0xFDFEFF);
    EXPECT_EQ(device.messages.back().transfers[1].len, 3U);
    radar.data_bytes = 1;
    EXPECT_EQ(radar.read_register(0), 0xFF);
}

TEST_F(SPIRadarInterfaceTest, RegistersOfNoBytesAnswerTheFirstByteOfTheReceiveBuffer) {
    radar.rx_buffer[0] = 0x5A;
    radar.data_bytes = 0;
    EXPECT_EQ(radar.read_register(0), 0x5A);
}

TEST_F(SPIRadarInterfaceTest, AFailedReadIsThrownAndNothingIsCached) {
    device.error = ENODEV;
    const auto failure = failure_of([this] { radar.populate_cache(1); });
    EXPECT_EQ(failure.code(), std::error_code(ENODEV, std::system_category()));
    EXPECT_EQ(failure.what(), "SPI communication failed: " + reason(ENODEV));
    EXPECT_EQ(device.messages.size(), 1U) << "no retry";
    device.error = 0;
    device.answer = bytes("01 00 00 00");
    EXPECT_EQ(radar.populate_cache(1), 1);
}

TEST_F(SPIRadarInterfaceTest, AFieldIsWrittenAfterOneRead) {
    device.answer = bytes("00 00 00 80");
    const RadarField field(0x0102, 4, 4);
    radar.write_field(field, 0xA);
    ASSERT_EQ(device.messages.size(), 2U);
    EXPECT_EQ(hex(device.messages[1].sent[0]), "20 02 01 A0 00 00 80");
}

TEST_F(SPIRadarInterfaceTest, AFieldWhoseWriteFailedIsCachedAllTheSame) {
    device.answer = bytes("00 00 00 00");
    radar.populate_cache(1);
    device.error = EIO;
    EXPECT_THROW(radar.write_field({1, 0, 4}, 3), std::system_error);
    EXPECT_EQ(radar.populate_cache(1), 3);
}

/** Frames that a derived class makes. */
class OwnFrames : public OpenedInterface {
public:
    using OpenedInterface::OpenedInterface;
    std::vector<uint8_t> format_data(int address, int data, int length,
                                     bool with_command) const override {
        arguments = {address, data, length, with_command ? 1 : 0};
        return {1, 2, 3};
    }
    mutable std::vector<int> arguments;
};

TEST_F(SPIRadarInterfaceTest, AWriteTakesItsFrameThroughTheVirtualOperation) {
    const OwnFrames own(0, 0x20);
    own.write_register(5, 6, 2);
    EXPECT_THAT(own.arguments, ElementsAre(5, 6, 2, 1));
    EXPECT_EQ(hex(device.messages.at(0).sent[0]), "01 02 03");
}

TEST_F(SPIRadarInterfaceTest, AReadDoesNotUseTheWriteFrame) {
    const OwnFrames own(0, 0x20);
    own.read_register(5);
    EXPECT_THAT(own.arguments, IsEmpty());
}

}  // namespace
