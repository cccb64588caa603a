#include "kit/base/text_parts.h"

#include <gtest/gtest.h>

namespace {

using Kit::TextParts;

TEST(TextPartsTest, ACharacterIsTakenOnce) {
    TextParts parts("--x");
    EXPECT_TRUE(parts.character('-'));
    EXPECT_TRUE(parts.character('-'));
    EXPECT_FALSE(parts.character('-'));
    EXPECT_EQ(parts.rest(), "x");
}

TEST(TextPartsTest, ANumberHasExactlyItsDigits) {
    TextParts parts("0142");
    int value = 0;
    EXPECT_TRUE(parts.number(3, 0, 999, value));
    EXPECT_EQ(value, 14);
    EXPECT_EQ(parts.rest(), "2");
    EXPECT_FALSE(parts.number(2, 0, 99, value));
    EXPECT_EQ(parts.rest(), "2");
}

TEST(TextPartsTest, ANumberOutOfRangeIsNone) {
    for (char const* const text : {"00", "13", "1x", "-1", "+1", ""}) {
        int value = 0;
        EXPECT_FALSE(TextParts(text).number(2, 1, 12, value)) << text;
    }
}

TEST(TextPartsTest, AWholeNumberFitsIn64Bits) {
    uint64_t value = 0;
    TextParts parts("18446744073709551615s");
    EXPECT_TRUE(parts.whole(value));
    EXPECT_EQ(value, UINT64_MAX);
    EXPECT_EQ(parts.rest(), "s");
    EXPECT_FALSE(TextParts("18446744073709551616").whole(value));
    EXPECT_FALSE(TextParts("-1").whole(value));
    EXPECT_FALSE(TextParts("").whole(value));
}

TEST(TextPartsTest, DigitsAreTakenUpToSomethingElse) {
    TextParts parts("0042s");
    EXPECT_EQ(parts.digits(), "0042");
    EXPECT_EQ(parts.digits(), "");
    EXPECT_EQ(parts.rest(), "s");
}

}  // namespace
