#include "kit/base/whole_number.h"

#include <gtest/gtest.h>

namespace {

using Kit::whole_number;

TEST(WholeNumberTest, IsDecimalOrAfterAPrefixHexadecimal) {
    EXPECT_EQ(whole_number("0"), 0U);
    EXPECT_EQ(whole_number("0128"), 128U);
    EXPECT_EQ(whole_number("0x1fE"), 0x1FEU);
    EXPECT_EQ(whole_number("0XFEED0007"), 0xFEED0007U);
}

TEST(WholeNumberTest, TheLargestFits) {
    EXPECT_EQ(whole_number("18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(whole_number("0xFFFFFFFFFFFFFFFF"), UINT64_MAX);
}

class NoWholeNumberTest : public testing::TestWithParam<char const*> {};

TEST_P(NoWholeNumberTest, IsNone) {
    EXPECT_EQ(whole_number(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(, NoWholeNumberTest,
                         testing::Values("", " ", " 1", "1 ", "-1", "+1", "1.5", "1e3", "12a", "0x",
                                         "x1", "0xg", "0x-1", "0x0x1", "18446744073709551616",
                                         "0x10000000000000000"));

}  // namespace
