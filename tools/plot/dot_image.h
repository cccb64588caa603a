#pragma once

#include <cairo.h>

#include "tools/plot/colours.h"

namespace Tools {

/**
 * Stamps dots into an image, fast enough for millions. The image, of the format
 * CAIRO_FORMAT_ARGB32 or CAIRO_FORMAT_RGB24, outlives the object; while the object lives nothing
 * else may draw into it. One thread at a time.
 */
class DotImage {
public:
    explicit DotImage(cairo_surface_t* image);
    ~DotImage();
    DotImage(DotImage const&) = delete;
    DotImage& operator=(DotImage const&) = delete;

    /** From now on nothing is drawn outside this part, in pixels; `right`, `bottom` are outside. */
    void clip(int left, int top, int right, int bottom);

    /** Stamps a dot with soft edges; lengths in pixels. */
    void stamp(double x, double y, double radius, Colour colour, double alpha);

private:
    cairo_surface_t* image_;
    unsigned char* pixels_;
    int stride_;
    int clip_left_ = 0;
    int clip_top_ = 0;
    int clip_right_;
    int clip_bottom_;
};

}  // namespace Tools
