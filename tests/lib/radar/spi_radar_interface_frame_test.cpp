#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

#include "lib/hex.h"
#include "lib/radar/fake_spi_device.h"

namespace {

using test_support::FakeSpiDevice;
using test_support::hex;
using test_support::OpenedInterface;
using testing::IsEmpty;

class SPIRadarInterfaceFrameTest : public testing::Test {
protected:
    FakeSpiDevice device;
    OpenedInterface radar{0, 0x20};
};

/** Arguments of a write frame and its bytes. */
struct Frame {
    char const* name;
    int address;
    int data;
    int length;
    bool with_command;
    char const* content;
};

void PrintTo(Frame const& one, std::ostream* os) {
    *os << one.name;
}

class FormatDataTest : public SPIRadarInterfaceFrameTest,
                       public testing::WithParamInterface<Frame> {};

INSTANTIATE_TEST_SUITE_P(
    Frames, FormatDataTest,
    testing::Values(Frame{"Default", 0x0102, 0x11223344, 0, true, "20 02 01 44 33 22 11"},
                    Frame{"WithoutCommand", 0x0102, 0x11223344, 0, false, "02 01 44 33 22 11"},
                    Frame{"OneByte", 0x0102, 0x11223344, 1, true, "20 02 01 44"},
                    Frame{"FourBytes", 0x0102, -2, 4, false, "02 01 FE FF FF FF"},
                    Frame{"LongPositive", 1, 0x7F000000, 6, false, "01 00 00 00 00 7F 00 00"},
                    Frame{"LongNegative", 1, -2, 6, false, "01 00 FE FF FF FF FF FF"},
                    Frame{"LongerThanTheBuffers", 1, 2, 9, true,
                          "20 01 00 02 00 00 00 00 00 00 00 00"},
                    Frame{"AddressAbove16Bits", 0x12345678, 0, 1, false, "78 56 00"},
                    Frame{"NegativeAddress", -2, 0, 1, false, "FE FF 00"},
                    Frame{"NegativeLength", 1, 2, -1, true, "20 01 00"},
                    Frame{"LowestLengthWithCommand", 1, 2, -3, true, "20 01 00"},
                    Frame{"LowestLengthWithoutCommand", 1, 2, -2, false, "01 00"}));

TEST_P(FormatDataTest, IsTheFrameOfItsArguments) {
    Frame const& frame = GetParam();
    EXPECT_EQ(hex(radar.format_data(frame.address, frame.data, frame.length, frame.with_command)),
              frame.content);
    EXPECT_THAT(device.messages, IsEmpty());
}

TEST_F(SPIRadarInterfaceFrameTest, AFrameFollowsTheWidthsOfTheInterface) {
    radar.address_bytes = 6;
    radar.data_bytes = 1;
    EXPECT_EQ(hex(radar.format_data(-2, 3, 0, true)), "20 FE FF FF FF FF FF 03");
}

/** Lengths that make the size of a frame negative, with the command byte. */
class FrameOfNegativeSizeTest : public SPIRadarInterfaceFrameTest,
                                public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Lengths, FrameOfNegativeSizeTest,
                         testing::Values(-4, -1000, std::numeric_limits<int>::min()));

TEST_P(FrameOfNegativeSizeTest, IsALengthErrorAndNothingIsSent) {
    try {
        radar.write_register(1, 2, GetParam());
        ADD_FAILURE() << "nothing was thrown";
    } catch (std::length_error const& error) {
        EXPECT_STREQ(error.what(), "vector::reserve");
    }
    EXPECT_THAT(device.messages, IsEmpty());
}

TEST_F(SPIRadarInterfaceFrameTest, WithoutTheCommandByteTheLengthOfALengthErrorIsOneHigher) {
    EXPECT_THROW(radar.format_data(1, 2, -3, false), std::length_error);
}

}  // namespace
