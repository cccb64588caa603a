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

DotImage::DotImage(cairo_surface_t* image)
    : image_(image),
      pixels_(cairo_image_surface_get_data(image)),
      stride_(cairo_image_surface_get_stride(image)),
      clip_right_(cairo_image_surface_get_width(image)),
      clip_bottom_(cairo_image_surface_get_height(image)) {
    cairo_surface_flush(image_);
}

DotImage::~DotImage() {
    cairo_surface_mark_dirty(image_);
}

void DotImage::clip(int left, int top, int right, int bottom) {
    clip_left_ = std::max(clip_left_, left);
    clip_top_ = std::max(clip_top_, top);
    clip_right_ = std::min(clip_right_, right);
    clip_bottom_ = std::min(clip_bottom_, bottom);
}

void DotImage::stamp(double x, double y, double radius, Colour colour, double alpha) {
    const int left = std::max(clip_left_, static_cast<int>(std::floor(x - radius - 1)));
    const int top = std::max(clip_top_, static_cast<int>(std::floor(y - radius - 1)));
    const int right = std::min(clip_right_ - 1, static_cast<int>(std::ceil(x + radius + 1)));
    const int bottom = std::min(clip_bottom_ - 1, static_cast<int>(std::ceil(y + radius + 1)));
    for (int row = top; row <= bottom; ++row) {
        for (int column = left; column <= right; ++column) {
            const double distance = std::hypot(column + 0.5 - x, row + 0.5 - y);
            const double cover = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            if (cover <= 0) continue;
            unsigned char* const place =
                pixels_ + static_cast<std::ptrdiff_t>(row) * stride_ + 4 * column;
            uint32_t pixel = 0;
            std::memcpy(&pixel, place, sizeof(pixel));
            pixel = over(pixel, colour, alpha * cover);
            std::memcpy(place, &pixel, sizeof(pixel));
        }
    }
}

}  // namespace Tools
