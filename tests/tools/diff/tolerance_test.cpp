#include "tools/diff/tolerance.h"

#include <gtest/gtest.h>

#include <limits>

#include "kit/base/usage_error.h"

namespace {

using Tools::agree;
using Tools::FrameField;
using Tools::Tolerances;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(ToleranceTest, WithoutOneOnlyEqualNumbersAgree) {
    EXPECT_TRUE(agree(2.5F, 2.5F, {}));
    EXPECT_TRUE(agree(0.0F, -0.0F, {}));
    EXPECT_FALSE(agree(2.5F, 2.5000002F, {}));
}

TEST(ToleranceTest, AnAbsoluteOneIsTheLargestDistance) {
    EXPECT_TRUE(agree(2.5F, 2.75F, {0.25, 0}));
    EXPECT_TRUE(agree(2.75F, 2.5F, {0.25, 0}));
    EXPECT_FALSE(agree(2.5F, 2.75F, {0.24, 0}));
}

TEST(ToleranceTest, ARelativeOneIsAPartOfTheLargerNumber) {
    EXPECT_TRUE(agree(90.0F, 100.0F, {0, 0.1}));
    EXPECT_TRUE(agree(-100.0F, -90.0F, {0, 0.1}));
    EXPECT_FALSE(agree(89.0F, 100.0F, {0, 0.1}));
}

TEST(ToleranceTest, OneOfTheTwoIsEnough) {
    EXPECT_TRUE(agree(0.0F, 0.5F, {0.5, 0.01}));
    EXPECT_TRUE(agree(999.0F, 1000.0F, {0.5, 0.01}));
}

TEST(ToleranceTest, WhatIsNoNumberAgreesWithItsLikeOnly) {
    EXPECT_TRUE(agree(kNan, kNan, {}));
    EXPECT_TRUE(agree(kInfinity, kInfinity, {}));
    EXPECT_FALSE(agree(kNan, 1.0F, {1e30, 1}));
    EXPECT_FALSE(agree(kInfinity, 1.0F, {1e30, 1}));
    EXPECT_FALSE(agree(kInfinity, -kInfinity, {1e30, 1}));
}

TEST(TolerancesTest, WithoutAFieldAllFloatsAreMeant) {
    Tolerances tolerances;
    tolerances.add("0.5");
    for (const FrameField field : {FrameField::kRcs, FrameField::kR, FrameField::kRdot,
                                   FrameField::kTheta, FrameField::kSnr}) {
        EXPECT_EQ(tolerances.of(field).absolute, 0.5);
    }
    EXPECT_FALSE(tolerances.timestamps_agree(1, 2));
}

TEST(TolerancesTest, AFieldMayHaveBothKinds) {
    Tolerances tolerances;
    tolerances.add("r=0.25,r=5%");
    tolerances.add("snr=1");
    EXPECT_EQ(tolerances.of(FrameField::kR).absolute, 0.25);
    EXPECT_EQ(tolerances.of(FrameField::kR).relative, 0.05);
    EXPECT_EQ(tolerances.of(FrameField::kSnr).absolute, 1);
    EXPECT_EQ(tolerances.of(FrameField::kTheta).absolute, 0);
}

TEST(TolerancesTest, TimesAreComparedInUs) {
    Tolerances tolerances;
    tolerances.add("timestamp=100");
    EXPECT_TRUE(tolerances.timestamps_agree(1000, 1100));
    EXPECT_TRUE(tolerances.timestamps_agree(1100, 1000));
    EXPECT_FALSE(tolerances.timestamps_agree(1000, 1101));
    EXPECT_FALSE(tolerances.timestamps_agree(0, std::numeric_limits<uint64_t>::max()));
}

TEST(TolerancesTest, WhatMakesNoSenseIsRefused) {
    for (char const* const text :
         {"", "x", "-1", "inf", "nan", "1,,2", "r", "r=", "r=1 ", "%", "height=1", "options=1",
          "timestamp=1%", "timestamp=1.5", "=1="}) {
        Tolerances tolerances;
        EXPECT_THROW(tolerances.add(text), Kit::UsageError) << text;
    }
}

}  // namespace
