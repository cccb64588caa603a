#include "tools/format/float_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "tools/format/float_cache.h"

namespace {

float float_of(uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

std::string written(float value) {
    char text[Tools::kFloatTextRoom];
    return std::string(text, Tools::write_float(text, value));
}

/** The shortest text that reads back as the same float, in the standard library's words. */
std::string expected(float value) {
    char text[Tools::kFloatTextRoom];
    return std::string(text, std::to_chars(text, text + sizeof(text), value).ptr);
}

std::string written(Tools::FloatCache& cache, float value) {
    char text[Tools::kFloatTextRoom];
    return std::string(text, cache.write(text, value));
}

/**
 * Calls `check` with floats of every exponent, from the denormal numbers to infinities and NaNs:
 * 1000 mantissas from either end, those with one bit set or one cleared, and 4000 random ones.
 */
template <typename Check>
void for_each_exponent(Check check) {
    constexpr uint32_t kBits = 23;
    constexpr uint32_t kMask = (1U << kBits) - 1;
    std::mt19937 random(1);
    for (uint32_t exponent = 0; exponent <= 0xFFU << kBits; exponent += 1U << kBits) {
        for (uint32_t i = 0; i < 1000; ++i) {
            check(exponent | i);
            check(exponent | (kMask - i));
        }
        for (uint32_t i = 0; i < kBits; ++i) {
            check(exponent | 1U << i);
            check(exponent | (kMask ^ 1U << i));
        }
        for (int i = 0; i < 4000; ++i) check(exponent | (static_cast<uint32_t>(random()) & kMask));
    }
}

TEST(FloatTextTest, TheTextIsThatOfToCharsForEveryExponent) {
    size_t differences = 0;
    for_each_exponent([&](uint32_t bits) {
        const float value = float_of(bits);
        if (written(value) == expected(value) && written(-value) == expected(-value)) return;
        if (++differences < 10) ADD_FAILURE() << written(value) << ", not " << expected(value);
    });
    EXPECT_EQ(differences, 0U);
}

TEST(FloatTextTest, TheTextReadsBackAsTheSameBits) {
    size_t differences = 0;
    for_each_exponent([&](uint32_t bits) {
        const float value = float_of(bits);
        if (std::isnan(value)) return;
        const float read = std::strtof(written(value).c_str(), nullptr);
        if (std::memcmp(&read, &value, sizeof(value)) == 0) return;
        if (++differences < 10) ADD_FAILURE() << written(value) << " for " << value;
    });
    EXPECT_EQ(differences, 0U);
}

TEST(FloatTextTest, ZeroKeepsItsSign) {
    EXPECT_EQ(written(0.0F), "0");
    EXPECT_EQ(written(-0.0F), "-0");
}

TEST(FloatTextTest, WhatIsNotFiniteIsAWord) {
    EXPECT_EQ(written(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(written(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(written(std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(FloatTextTest, TheLimitsAreWrittenShortest) {
    EXPECT_EQ(written(std::numeric_limits<float>::denorm_min()), "1e-45");
    EXPECT_EQ(written(std::numeric_limits<float>::min()), "1.1754944e-38");
    EXPECT_EQ(written(std::numeric_limits<float>::max()), "3.4028235e+38");
}

TEST(FloatTextTest, AnExponentIsWrittenWhereItMakesTheTextShorter) {
    EXPECT_EQ(written(10000.0F), "10000");
    EXPECT_EQ(written(100000.0F), "1e+05");
    EXPECT_EQ(written(0.001F), "0.001");
    EXPECT_EQ(written(0.0001F), "1e-04");
}

TEST(FloatCacheTest, RepeatedNumbersHaveTheSameText) {
    Tools::FloatCache cache;
    for (int round = 0; round < 3; ++round) {
        for (const float value : {0.0F, -0.0F, 2.25F, -2.25F, 0.1F}) {
            ASSERT_EQ(written(cache, value), expected(value));
        }
    }
}

TEST(FloatCacheTest, NumbersThatNeverRepeatHaveTheirOwnText) {
    Tools::FloatCache cache;
    std::mt19937 random(1);
    // More than the cache takes to pause, and to begin again.
    for (int i = 0; i < 300000; ++i) {
        const float value = float_of(static_cast<uint32_t>(random()));
        ASSERT_EQ(written(cache, value), expected(value)) << i;
    }
}

}  // namespace
