#include "kit/demo_chip/frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace Kit::DemoChip;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

uint32_t packed_range(float metres) {
    RO::TargetData target;
    target.set_r(metres);
    return pack_target(target)[0] & 0xFFFF;
}

/** The radial speed's code, which every signed field shares the rules of. */
uint32_t packed_speed(float metres_per_second) {
    RO::TargetData target;
    target.set_rdot(metres_per_second);
    return pack_target(target)[0] >> 16;
}

TEST(ChipFrame, ATargetHasAFixedPlaceForEveryValue) {
    RO::TargetData target;
    target.set_r(12.34F);
    target.set_rdot(-1.5F);
    target.set_theta(0.25F);
    target.set_rcs(-20.0F);
    target.set_snr(18.25F);
    target.set_options(0xBEEF);
    EXPECT_EQ(pack_target(target), (TargetWords{0xFF6A04D2, 0xF83009C4, 0xBEEF0721}));
}

TEST(ChipFrame, UnpackingGivesTheTargetBack) {
    const RO::TargetData target = unpack_target({0xFF6A04D2, 0xF83009C4, 0xBEEF0721});
    EXPECT_FLOAT_EQ(target.r(), 12.34F);
    EXPECT_FLOAT_EQ(target.rdot(), -1.5F);
    EXPECT_FLOAT_EQ(target.theta(), 0.25F);
    EXPECT_FLOAT_EQ(target.rcs(), -20.0F);
    EXPECT_FLOAT_EQ(target.snr(), 18.25F);
    EXPECT_EQ(target.options(), 0xBEEFU);
}

TEST(ChipFrame, ValuesAreRoundedToTheNearestStep) {
    EXPECT_EQ(packed_range(0.0149F), 1U);
    EXPECT_EQ(packed_range(0.0151F), 2U);
}

TEST(ChipFrame, HalvesAreRoundedAwayFromZero) {
    EXPECT_EQ(packed_range(0.125F), 13U);
    EXPECT_EQ(packed_speed(0.125F), 13U);
    EXPECT_EQ(packed_speed(-0.125F), 0x10000U - 13U);
}

TEST(ChipFrame, ARangeBelowZeroIsZero) {
    EXPECT_EQ(packed_range(-0.5F), 0U);
    EXPECT_EQ(packed_range(-kInfinity), 0U);
}

TEST(ChipFrame, ARangeBeyondTheFieldIsTheFarthest) {
    EXPECT_EQ(packed_range(655.34F), 0xFFFEU);
    EXPECT_EQ(packed_range(655.36F), 0xFFFEU);
    EXPECT_EQ(packed_range(kInfinity), 0xFFFEU);
}

TEST(ChipFrame, ASpeedBeyondTheFieldIsTheFastest) {
    EXPECT_EQ(packed_speed(400.0F), 0x7FFFU);
    EXPECT_EQ(packed_speed(-400.0F), 0x8001U);
    EXPECT_EQ(packed_speed(kInfinity), 0x7FFFU);
    EXPECT_EQ(packed_speed(-kInfinity), 0x8001U);
}

TEST(ChipFrame, AnAngleAllAroundFits) {
    RO::TargetData target;
    target.set_theta(3.14159274F);
    EXPECT_EQ(pack_target(target)[1], 31416U);
}

TEST(ChipFrame, WhatIsNoNumberHasACodeOfItsOwn) {
    EXPECT_EQ(packed_range(kNaN), 0xFFFFU);
    EXPECT_EQ(packed_speed(kNaN), 0x8000U);
}

TEST(ChipFrame, TheCodeForNoNumberUnpacksToNoNumber) {
    const RO::TargetData target = unpack_target({0x8000FFFF, 0x80008000, 0x00008000});
    EXPECT_TRUE(std::isnan(target.r()));
    EXPECT_TRUE(std::isnan(target.rdot()));
    EXPECT_TRUE(std::isnan(target.theta()));
    EXPECT_TRUE(std::isnan(target.rcs()));
    EXPECT_TRUE(std::isnan(target.snr()));
}

TEST(ChipFrame, OfTheOptionsTheLowHalfIsKept) {
    RO::TargetData target;
    target.set_options(0x12345678);
    EXPECT_EQ(pack_target(target)[2], 0x56780000U);
}

TEST(ChipFrame, EveryCodeSurvivesUnpackingAndPacking) {
    for (uint32_t code = 0; code <= 0xFFFF; ++code) {
        const uint32_t both = code | (code << 16);
        const TargetWords words = {both, both, both};
        ASSERT_EQ(pack_target(unpack_target(words)), words) << code;
    }
}

TEST(ChipFrame, ATimestampIsJoinedFromItsHalves) {
    EXPECT_EQ(join_timestamp(0x89ABCDEF, 0x01234567), 0x0123456789ABCDEFU);
}

}  // namespace
