#pragma once

namespace Tools {

/** A colour; red, green and blue from 0 to 1. */
struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;
};

/**
 * The colour of a radial speed: orange for what approaches, blue for what recedes, grey for what
 * does neither, darker the faster. People who see red and green alike tell them apart.
 *
 * @param share of the largest speed, -1 to 1; what is beyond counts as -1 or 1.
 */
Colour speed_colour(double share);

constexpr Colour kInk = {0.13, 0.13, 0.13};
constexpr Colour kFaintInk = {0.4, 0.4, 0.4};
constexpr Colour kGridLine = {0.84, 0.84, 0.84};
constexpr Colour kPaper = {1, 1, 1};

}  // namespace Tools
