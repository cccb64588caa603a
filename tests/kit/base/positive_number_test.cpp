#include "kit/base/positive_number.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <limits>

#include "tests/support/private_paths.h"

namespace {

using Kit::positive_number;

TEST(PositiveNumberTest, IsWhatTheTextSays) {
    EXPECT_EQ(positive_number("2"), 2.0);
    EXPECT_EQ(positive_number("0.25"), 0.25);
    EXPECT_EQ(positive_number("1e3"), 1000.0);
    EXPECT_EQ(positive_number("4.9406564584124654e-324"),
              std::numeric_limits<double>::denorm_min());
}

class NoPositiveNumberTest : public testing::TestWithParam<char const*> {};

TEST_P(NoPositiveNumberTest, IsNone) {
    EXPECT_EQ(positive_number(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(, NoPositiveNumberTest,
                         testing::Values("", " ", "0", "-1", "fast", "2x", "2 ", " 2", "inf", "nan",
                                         "0x10", "1e999", "1e-999", "0,25"));

TEST(PositiveNumberTest, WhatStandsAfterANulByteCounts) {
    EXPECT_EQ(positive_number({"2\0x", 3}), std::nullopt);
}

/** In a locale whose decimal point is a comma. */
class CommaLocaleTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file("/tmp/comma",
                                 "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\n"
                                 "grouping 3\nEND LC_NUMERIC\n");
        // It has a warning for every other category, for which its status is 1.
        static_cast<void>(std::system("localedef -c -i /tmp/comma /tmp/locale >/tmp/log 2>&1"));
        setenv("LOCPATH", "/tmp", 1);
        ASSERT_NE(std::setlocale(LC_ALL, "locale"), nullptr) << test_support::read_file("/tmp/log");
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(CommaLocaleTest, TheDecimalPointIsAPoint) {
    EXPECT_EQ(positive_number("0.25"), 0.25);
    EXPECT_EQ(positive_number("1.5e3"), 1500.0);
    EXPECT_EQ(positive_number("0,25"), std::nullopt);
}

}  // namespace
