#include "tools/format/float_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "tools/format/powers_of_ten.h"

// The numbers that read back as a float c * 2^q lie between the middles to its neighbours. All is
// scaled by a power of ten that leaves about one decimal digit between those middles, so that the
// shortest number is among four: the two integers around the float, and the two multiples of ten.
// 64 bits of the power of ten are enough for this to be exact, when the bits that are lost by
// scaling are kept as one that only says whether there were any. (Giulietti, "The Schubfach way to
// render doubles".)

namespace Tools {

namespace {

constexpr int kFractionBits = 23;
constexpr uint32_t kHiddenBit = 1U << kFractionBits;
constexpr int kExponentBias = 127 + kFractionBits;
constexpr uint32_t kLargestExponent = 255;

// Floats differ from one to the next, so what can be decided without a branch is: branches that the
// processor guesses wrong would cost most of the time.

/** digits * 10^exponent. */
struct Decimal {
    uint32_t digits;
    int exponent;
};

/** The largest e for which 2^e <= 10^k. */
constexpr int power_of_two_below(int k) {
    return (k * 217706) >> 16;
}

/** How floats with one exponent are scaled. */
struct Scale {
    uint64_t power;  // the power of ten, of kPowersOfTen
    int shift;       // what is left of it and of 2^q together
    int exponent;    // the power's, with the other sign
    double factor;   // about what a float is multiplied with
};

/** 2^q / 10^k, as exact as a double can be. */
constexpr double factor_of(int q, int k) {
    const uint64_t power = kPowersOfTen[static_cast<size_t>(-k - kFirstPower)];
    double factor = static_cast<double>(power);
    for (int i = q + power_of_two_below(-k) - 63; i < 0; ++i) factor /= 2;
    return factor;
}

/** @param k the largest for which 10^k is not above the distance between two floats c * 2^q. */
constexpr Scale make_scale(int q, int k) {
    return {kPowersOfTen[static_cast<size_t>(-k - kFirstPower)], q + power_of_two_below(-k) + 1, k,
            factor_of(q, k)};
}

constexpr auto kScales = [] {
    std::array<Scale, kLargestExponent> scales = {};
    for (int i = 0; i < static_cast<int>(scales.size()); ++i) {
        const int q = (i == 0 ? 1 : i) - kExponentBias;
        scales[static_cast<size_t>(i)] = make_scale(q, (q * 78913) >> 18);
    }
    return scales;
}();

/** For a float whose neighbour below is only half as far away: c is a power of two. */
Scale irregular_scale(int q) {
    return make_scale(q, (q * 78913 - 32752) >> 18);
}

/** The bits from 64 on of a product, the last one set when any below was that counts. */
uint32_t scaled(uint64_t power, uint32_t factor) {
    const uint64_t low = (power & 0xFFFFFFFF) * factor;
    const uint64_t high = (power >> 32) * factor + (low >> 32);
    return static_cast<uint32_t>(high >> 32) | ((high & 0xFFFFFFFF) > 1 ? 1U : 0U);
}

uint32_t choose(bool first, uint32_t if_first, uint32_t otherwise) {
    return otherwise ^ ((if_first ^ otherwise) & (0U - static_cast<uint32_t>(first)));
}

/** The shortest decimal number for c * 2^q. @param below how far the middle below is, in quarters
 */
Decimal shortest(uint32_t c, uint32_t below, Scale const& scale) {
    const uint32_t odd = c & 1;
    // In quarters, so that the middles are integers.
    const uint32_t value = scaled(scale.power, (4 * c) << scale.shift);
    const uint32_t lower = scaled(scale.power, (4 * c - below) << scale.shift) + odd;
    const uint32_t upper = scaled(scale.power, (4 * c + 2) << scale.shift) - odd;
    const uint32_t s = value / 4;
    const uint32_t tens = s / 10;
    const bool tens_down = lower <= 40 * tens;
    const bool tens_up = 40 * tens + 40 <= upper;
    const bool shorter = (tens_down != tens_up) & (tens != 0);
    const bool down = lower <= 4 * s;
    const bool up = 4 * s + 4 <= upper;
    const uint32_t middle = 4 * s + 2;
    const bool nearer_up = (value > middle) | ((value == middle) & (s % 2 == 1));
    const bool round_up = (up & !down) | (nearer_up & (up == down));
    return {
        choose(shorter, tens + static_cast<uint32_t>(tens_up), s + static_cast<uint32_t>(round_up)),
        scale.exponent + static_cast<int>(shorter)};
}

/**
 * The shortest decimal number, as it mostly can be told with doubles; false when it is too close to
 * call. The float is scaled so that there are 1 to 10 integers to one distance between floats.
 */
bool find_shortest(uint32_t c, Scale const& scale, Decimal& decimal) {
    constexpr double kDoubt = 1e-6;  // what is lost is less than a tenth of that
    const double half = scale.factor / 2;
    const double value = c * scale.factor;
    const auto s = static_cast<int32_t>(value);
    const int32_t tens = s / 10;
    const double above_tens = value - 10 * tens;
    const double below_tens = 10 - above_tens;
    const double above_one = value - s;
    const bool down = above_tens < half;
    const bool up = below_tens < half;
    const bool round_up = above_one > 0.5;
    const bool shorter = down | up;
    decimal = {choose(shorter, static_cast<uint32_t>(tens) + static_cast<uint32_t>(up),
                      static_cast<uint32_t>(s) + static_cast<uint32_t>(round_up)),
               scale.exponent + static_cast<int>(shorter)};
    return (std::fabs(above_tens - half) > kDoubt) & (std::fabs(below_tens - half) > kDoubt) &
           (std::fabs(above_one - 0.5) > kDoubt);
}

/** The digits of a number, the first of which is not 0, and zeros behind them; nine together. */
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
    // The highest bit that is set tells the last digit that is not 0; bit 0 is set for none of
    // them.
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

/** An integer that is larger than its digits: more of it is told than they do. */
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

/** A number that has its point behind its first digit or later, up to behind its last. */
FloatText with_point(Digits const& digits) {
    const int shift = 8 * (digits.point - 1);  // 0 to 64; what stands behind the first digit
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

/** Floats that are zero, infinite, no number, or tiny. */
FloatText special_text(uint32_t bits) {
    const uint32_t fraction = bits & (kHiddenBit - 1);
    if (bits >> kFractionBits != 0) return text_of(fraction == 0 ? "inf" : "nan");
    if (fraction == 0) return text_of("0");
    return text_of(shortest(fraction, 2, kScales[0]), float_of(bits));
}

}  // namespace

FloatText text_of_magnitude(uint32_t bits) {
    const uint32_t exponent = bits >> kFractionBits;
    const uint32_t fraction = bits & (kHiddenBit - 1);
    if (exponent == 0 || exponent == kLargestExponent) return special_text(bits);
    Decimal decimal = {};
    if (fraction != 0 && find_shortest(fraction | kHiddenBit, kScales[exponent], decimal)) {
        return text_of(decimal, float_of(bits));
    }
    const bool irregular = fraction == 0 && exponent > 1;
    decimal = irregular ? shortest(kHiddenBit, 1,
                                   irregular_scale(static_cast<int>(exponent) - kExponentBias))
                        : shortest(fraction | kHiddenBit, 2, kScales[exponent]);
    return text_of(decimal, float_of(bits));
}

}  // namespace Tools
