#include "tools/plot/axis.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

namespace Tools {

namespace {

/** The next number above `value` that is 1, 2 or 5 times a power of ten. */
double round_step(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= value * (1 - 1e-9)) return factor * power;
    }
    return 10 * power;
}

}  // namespace

std::vector<double> AxisMarks::places() const {
    std::vector<double> all;
    const auto count = static_cast<int>(std::lround((high - low) / step));
    const double first = std::round(low / step);
    for (int i = 0; i <= count; ++i) all.push_back((first + i) * step);
    return all;
}

std::string AxisMarks::label(double place) const {
    const int digits = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
    return fmt::format("{}{:.{}f}", place < -step / 2 ? "\u2212" : "", std::abs(place), digits);
}

AxisMarks marks_between(double low, double high, int count) {
    AxisMarks marks;
    const double span = high - low;
    if (!(span > 0)) high = low + 1;
    marks.step = round_step(std::max(high - low, 1e-6) / std::max(count, 1));
    marks.low = std::floor(low / marks.step + 1e-9) * marks.step;
    marks.high = std::ceil(high / marks.step - 1e-9) * marks.step;
    return marks;
}

bool can_be_drawn(float value) {
    constexpr float kLargest = 1e6F;
    return std::abs(value) <= kLargest;  // false for what is no number
}

}  // namespace Tools
