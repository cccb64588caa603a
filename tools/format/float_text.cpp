#include "tools/format/float_text.h"

#include <dragonbox/dragonbox.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tools {

namespace {

constexpr uint32_t kInfinity = 0x7F800000;

// Floats differ from one to the next, so what can be decided without a branch is: branches that the
// processor guesses wrong would cost most of the time.

/** digits * 10^exponent. */
struct Decimal {
    uint32_t digits;
    int exponent;
};

/** The digits of a number, the first of which is not 0, and zeros after them; nine together. */
struct Digits {
    static constexpr int kMost = 9;

    char first;
    uint64_t others;  // as characters, one a byte, the first one lowest
    int count;        // without zeros at the end
    int point;        // where the decimal point stands, in digits from the first
};

constexpr std::array<uint32_t, Digits::kMost + 1> kTens = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

/** The number of digits of a number that is not 0. */
int digit_count(uint32_t number) {
    const int bits = 32 - __builtin_clz(number);
    const int below = (bits * 1233) >> 12;
    return below + static_cast<int>(number >= kTens[static_cast<size_t>(below)]);
}

/** "000" to "999" as characters, the first one lowest. */
constexpr auto kTriples = [] {
    std::array<uint32_t, 1000> triples = {};
    for (uint32_t i = 0; i < triples.size(); ++i) {
        triples[i] = ('0' + i / 100) | ('0' + i / 10 % 10) << 8 | ('0' + i % 10) << 16;
    }
    return triples;
}();

Digits digits_of(Decimal decimal) {
    constexpr uint64_t kZeros = 0x3030303030303030;
    const int count = digit_count(decimal.digits);
    const uint32_t nine = decimal.digits * kTens[static_cast<size_t>(Digits::kMost - count)];
    const uint32_t six = nine / 1000;
    const uint32_t first = kTriples[nine / 1000000];
    const uint64_t others = first >> 8 | uint64_t{kTriples[six % 1000]} << 16 |
                            uint64_t{kTriples[nine - 1000 * six]} << 40;
    // The highest bit that is set tells the last digit that is not 0; bit 0 is set for none.
    const int bit = 63 - __builtin_clzll((others ^ kZeros) << 1 | 1);
    return {static_cast<char>(first & 0xFF), others, 1 + (bit + 7) / 8, count + decimal.exponent};
}

// Texts are put together in registers: what was written in pieces is slow to read as a whole.

FloatText text_of(char const* characters, size_t size) {
    FloatText text = {};
    for (size_t i = 0; i < size; ++i) {
        const auto character = static_cast<unsigned char>(characters[i]);
        (i < 8 ? text.low : text.high) |= uint64_t{character} << 8 * (i % 8);
    }
    text.size = static_cast<uint32_t>(size);
    return text;
}

FloatText text_of(std::string_view characters) {
    return text_of(characters.data(), characters.size());
}

FloatText scientific(Digits const& digits) {
    std::array<char, 16> text;
    char* end = text.data();
    *end++ = digits.first;
    if (digits.count > 1) *end++ = '.';
    for (int i = 1; i < digits.count; ++i) {
        *end++ = static_cast<char>(digits.others >> 8 * (i - 1) & 0xFF);
    }
    const int exponent = digits.point - 1;
    const int size = exponent < 0 ? -exponent : exponent;
    *end++ = 'e';
    *end++ = exponent < 0 ? '-' : '+';
    *end++ = static_cast<char>('0' + size / 10);
    *end++ = static_cast<char>('0' + size % 10);
    return text_of(text.data(), static_cast<size_t>(end - text.data()));
}

/** An integer with more places than digits: all of its own are written, not zeros. */
FloatText large_integer(float value) {
    std::array<char, 20> text;
    char const* const end =
        std::to_chars(text.data(), text.data() + text.size(), static_cast<uint64_t>(value)).ptr;
    return text_of(text.data(), static_cast<size_t>(end - text.data()));
}

FloatText below_one(Digits const& digits) {
    constexpr uint64_t kBegin = 0x3030303030302E30;  // "0.000000"
    const int shift = 8 * (2 - digits.point);        // 16 to 40
    const uint64_t eight = static_cast<unsigned char>(digits.first) | digits.others << 8;
    const uint64_t begin = kBegin & ((uint64_t{1} << shift) - 1);
    return {begin | eight << shift, eight >> (64 - shift) | (digits.others >> 56) << shift,
            static_cast<uint32_t>(2 - digits.point + digits.count)};
}

/** A number whose point stands after its first digit or later, at most after its last. */
FloatText with_point(Digits const& digits) {
    const int shift = 8 * (digits.point - 1);  // 0 to 64; what stands after the first digit
    const uint64_t integer_part = (uint64_t{1} << shift / 2 << shift / 2) - 1;
    const uint64_t eight =  // the first digit is put before them
        (digits.others & integer_part) | uint64_t{'.'} << shift / 2 << shift / 2 |
        (digits.others & ~integer_part) << 8;
    const uint64_t last = shift < 64 ? digits.others >> 56 : '.';
    const bool has_point = digits.point < digits.count;
    return {static_cast<unsigned char>(digits.first) | eight << 8, eight >> 56 | last << 8,
            static_cast<uint32_t>(digits.count + (has_point ? 1 : 0))};
}

FloatText text_of(Decimal decimal, float value) {
    const Digits digits = digits_of(decimal);
    if (digits.point > 0 && digits.point <= digits.count) return with_point(digits);
    // Where an exponent makes the number longer, there is none.
    const int exponent_size = 4 + static_cast<int>(digits.count > 1);
    if (digits.point > 0) {
        return digits.point - digits.count > exponent_size ? scientific(digits)
                                                           : large_integer(value);
    }
    return 2 - digits.point > exponent_size ? scientific(digits) : below_one(digits);
}

float float_of(uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

}  // namespace

FloatText text_of_magnitude(uint32_t bits) {
    if (bits == 0) return text_of("0");
    if (bits >= kInfinity) return text_of(bits == kInfinity ? "inf" : "nan");
    namespace policy = jkj::dragonbox::policy;
    const float value = float_of(bits);
    const auto decimal =
        jkj::dragonbox::to_decimal(value, policy::sign::ignore, policy::trailing_zero::ignore);
    return text_of(Decimal{decimal.significand, decimal.exponent}, value);
}

}  // namespace Tools
