#include "kit/base/positive_number.h"

#include <gtest/gtest.h>

namespace {

using Kit::positive_number;

TEST(PositiveNumberTest, IsWhatTheTextSays) {
    EXPECT_EQ(positive_number("2"), 2.0);
    EXPECT_EQ(positive_number("0.25"), 0.25);
    EXPECT_EQ(positive_number("1e3"), 1000.0);
}

class NoPositiveNumberTest : public testing::TestWithParam<char const*> {};

TEST_P(NoPositiveNumberTest, IsNone) {
    EXPECT_EQ(positive_number(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(, NoPositiveNumberTest,
                         testing::Values("", " ", "0", "-1", "fast", "2x", "2 ", "inf", "nan",
                                         "1e999", "1e-999"));

TEST(PositiveNumberTest, WhatStandsBehindANulByteCounts) {
    EXPECT_EQ(positive_number(std::string("2\0x", 3)), std::nullopt);
}

}  // namespace
