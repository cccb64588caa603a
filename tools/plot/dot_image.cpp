#include "tools/plot/dot_image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Tools {

namespace {

/** The colour laid over a pixel; both with their alpha in the top byte, and multiplied by it. */
uint32_t over(uint32_t pixel, Colour colour, double alpha) {
    const auto mixed = [&](unsigned shift, double value) {
        const auto below = static_cast<double>(pixel >> shift & 0xFFU);
        return static_cast<uint32_t>(std::lround(255 * value * alpha + below * (1 - alpha)))
               << shift;
    };
    return mixed(24, 1) | mixed(16, colour.red) | mixed(8, colour.green) | mixed(0, colour.blue);
}

}  // namespace

DotImage::DotImage(cairo_surface_t* image_)
    : image(image_),
      pixels(cairo_image_surface_get_data(image_)),
      stride(cairo_image_surface_get_stride(image_)),
      clip_right(cairo_image_surface_get_width(image_)),
      clip_bottom(cairo_image_surface_get_height(image_)) {
    cairo_surface_flush(image);
}

DotImage::~DotImage() {
    cairo_surface_mark_dirty(image);
}

void DotImage::clip(int left, int top, int right, int bottom) {
    clip_left = std::max(clip_left, left);
    clip_top = std::max(clip_top, top);
    clip_right = std::min(clip_right, right);
    clip_bottom = std::min(clip_bottom, bottom);
}

void DotImage::stamp(double x, double y, double radius, Colour colour, double alpha) {
    const int left = std::max(clip_left, static_cast<int>(std::floor(x - radius - 1)));
    const int top = std::max(clip_top, static_cast<int>(std::floor(y - radius - 1)));
    const int right = std::min(clip_right - 1, static_cast<int>(std::ceil(x + radius + 1)));
    const int bottom = std::min(clip_bottom - 1, static_cast<int>(std::ceil(y + radius + 1)));
    for (int row = top; row <= bottom; ++row) {
        for (int column = left; column <= right; ++column) {
            const double distance = std::hypot(column + 0.5 - x, row + 0.5 - y);
            const double cover = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            if (cover <= 0) continue;
            unsigned char* const place =
                pixels + static_cast<std::ptrdiff_t>(row) * stride + 4 * column;
            uint32_t pixel = 0;
            std::memcpy(&pixel, place, sizeof(pixel));
            pixel = over(pixel, colour, alpha * cover);
            std::memcpy(place, &pixel, sizeof(pixel));
        }
    }
}

}  // namespace Tools
