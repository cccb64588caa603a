#include "tools/plot/colours.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Tools {

namespace {

/** From the fastest that approaches to the fastest that recedes, at equal distances. */
constexpr std::array<Colour, 5> kStops = {{
    {0.55, 0.19, 0.02},
    {0.93, 0.53, 0.15},
    {0.66, 0.66, 0.66},
    {0.31, 0.58, 0.84},
    {0.03, 0.21, 0.49},
}};

double between(double from, double to, double share) {
    return from + (to - from) * share;
}

}  // namespace

Colour speed_colour(double share) {
    const double place = (std::clamp(share, -1.0, 1.0) + 1) / 2 * (kStops.size() - 1);
    const auto below = std::min(static_cast<size_t>(place), kStops.size() - 2);
    const double rest = place - static_cast<double>(below);
    Colour const& from = kStops[below];
    Colour const& to = kStops[below + 1];
    return {between(from.red, to.red, rest), between(from.green, to.green, rest),
            between(from.blue, to.blue, rest)};
}

}  // namespace Tools
