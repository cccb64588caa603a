#include "kit/base/words.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace std::string_literals;

TEST(WordsTest, AreReadLeastSignificantByteFirst) {
    constexpr std::string_view kBytes("\xF1\x02\x03\x84\x05\x06\x07\xF8\x09", 9);
    EXPECT_EQ(Kit::read_word16(kBytes), 0x02F1);
    EXPECT_EQ(Kit::read_word(kBytes), 0x840302F1U);
    EXPECT_EQ(Kit::read_word64(kBytes), 0xF8070605840302F1U);
    EXPECT_EQ(Kit::read_word(kBytes, 5), 0x09F80706U);
}

TEST(WordsTest, AreAppendedLeastSignificantByteFirst) {
    std::string bytes = "-";
    Kit::append_word16(bytes, 0x80F1);
    Kit::append_word(bytes, 0x840302F1);
    Kit::append_word64(bytes, 0xF8070605840302F1);
    EXPECT_EQ(bytes, "-\xF1\x80\xF1\x02\x03\x84\xF1\x02\x03\x84\x05\x06\x07\xF8"s);
}

TEST(WordsTest, TheBytesOfAWordAreKnownToTheCompiler) {
    constexpr std::array<char, 4> kBytes = Kit::bytes_of_word(0xBADABA01);
    static_assert(kBytes[0] == 1 && kBytes[3] == static_cast<char>(0xBA));
    EXPECT_EQ(std::string_view(kBytes.data(), 4), "\x01\xBA\xDA\xBA"s);
}

TEST(WordsTest, FloatsAreBinary32) {
    EXPECT_EQ(Kit::read_float("\x00\x00\xB0\xC0"s), -5.5F);
    EXPECT_TRUE(std::signbit(Kit::read_float("\x00\x00\x00\x80"s)));
}

TEST(WordsTest, DoublesAreBinary64) {
    std::string bytes;
    Kit::append_double(bytes, -5.5);
    EXPECT_EQ(bytes, "\x00\x00\x00\x00\x00\x00\x16\xC0"s);
    EXPECT_EQ(Kit::read_double(bytes), -5.5);
}

TEST(WordsTest, ADoubleComesBackBitForBit) {
    using Limits = std::numeric_limits<double>;
    for (const double number : {-0.0, Limits::denorm_min(), Limits::max(), Limits::infinity()}) {
        std::string bytes;
        Kit::append_double(bytes, number);
        std::string again;
        Kit::append_double(again, Kit::read_double(bytes));
        EXPECT_EQ(again, bytes) << number;
    }
}

}  // namespace
