#include "kit/frames/portable_math.h"

#include <cfloat>
#include <cmath>

// The build keeps the compiler from fusing a multiplication and an addition in this file.

namespace Kit {

static_assert(FLT_EVAL_METHOD == 0, "an expression is as wide as its operands");

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSquareRootOfHalf = 0.70710678118654752440;
constexpr double kNaturalLogarithmOf2 = 0.69314718055994530942;
constexpr double kDecibelsPerNeper = 4.34294481903251827651;

/** x - x^3/3 + x^5/5 ..., or with all signs positive: atan or atanh of a small x. */
double odd_series(double x, int terms, double sign) {
    const double square = sign * x * x;
    double sum = 0;
    for (int i = terms - 1; i >= 0; --i) sum = sum * square + 1.0 / (2 * i + 1);
    return x * sum;
}

}  // namespace

double arc_tangent(double tangent) {
    constexpr double kTangentOfPi8 = 0.41421356237309504880;
    if (tangent < 0) return -arc_tangent(-tangent);
    if (tangent > 1) return kPi / 2 - arc_tangent(1 / tangent);
    if (tangent > kTangentOfPi8) return kPi / 4 + arc_tangent((tangent - 1) / (tangent + 1));
    return odd_series(tangent, 11, -1);
}

double decibels(double ratio) {
    int exponent = 0;
    double mantissa = std::frexp(ratio, &exponent);  // exact
    if (mantissa < kSquareRootOfHalf) {
        mantissa *= 2;
        --exponent;
    }
    const double logarithm = 2 * odd_series((mantissa - 1) / (mantissa + 1), 7, 1);
    return kDecibelsPerNeper * (logarithm + exponent * kNaturalLogarithmOf2);
}

}  // namespace Kit
