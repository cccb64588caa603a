#include "kit/frames/portable_math.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(PortableMathTest, ArcTangentAgreesWithTheCLibrary) {
    for (double tangent = -50; tangent < 50; tangent += 0.01) {
        ASSERT_NEAR(Kit::arc_tangent(tangent), std::atan(tangent), 1e-9) << tangent;
    }
}

TEST(PortableMathTest, ArcTangentOfALargeNumberIsARightAngle) {
    EXPECT_NEAR(Kit::arc_tangent(1e300), std::acos(0), 1e-9);
}

TEST(PortableMathTest, DecibelsAgreeWithTheCLibrary) {
    for (double ratio = 1e-30; ratio < 1e30; ratio *= 1.03) {
        ASSERT_NEAR(Kit::decibels(ratio), 10 * std::log10(ratio), 1e-8) << ratio;
    }
}

TEST(PortableMathTest, EqualPowersAreZeroDecibelsApart) {
    EXPECT_EQ(Kit::decibels(1), 0);
}

}  // namespace
