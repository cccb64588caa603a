#pragma once

#include <cairo.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/plot/colours.h"

namespace Tools {

enum class PlotFormat { kSvg, kPng, kPdf };

/** A rectangle; y grows downwards. */
struct Box {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;

    double width() const { return right - left; }
    double height() const { return bottom - top; }
};

struct TextStyle {
    enum class Align { kLeft, kCentre, kRight };

    double size = 12;
    Align align = Align::kLeft;
    bool bold = false;
    bool upwards = false;  // reads from below to above
    Colour colour = kInk;
};

/** A dot of a picture with very many. */
struct Dot {
    double x = 0;
    double y = 0;
    double radius = 1;
    Colour colour;
    double alpha = 1;
};

/**
 * A picture in the making, which draws with cairo. Lengths are in units that a line of small text
 * is 12 of; width() and height() say how many there are. In an SVG texts stay texts. One thread at
 * a time. Throws Kit::Error with cairo's reason when that fails.
 */
class PlotCanvas {
public:
    /** Hands over dots, one by one. */
    using Each = std::function<void(std::function<void(Dot const&)> const& draw)>;
    using Write = std::function<void(std::string_view bytes)>;

    /** @param width, height in pixels, or points of a PDF. */
    PlotCanvas(PlotFormat format, int width, int height, std::string const& title);
    ~PlotCanvas();
    PlotCanvas(PlotCanvas const&) = delete;
    PlotCanvas& operator=(PlotCanvas const&) = delete;

    double width() const { return unit_width_; }
    double height() const { return unit_height_; }

    void line(double x1, double y1, double x2, double y2, Colour colour, double thickness);
    /** A part of a circle; angles in rad from above, clockwise. */
    void arc(double x, double y, double radius, double from, double to, Colour colour,
             double thickness);
    void fill(Box const& box, Colour colour);
    void frame(Box const& box, Colour colour, double thickness);
    void triangle(double x, double y, double size, Colour colour);
    /** A dot with an edge. */
    void marker(Dot const& dot, Colour edge);

    /** Text whose line stands on `y`; with `upwards` on `x`. */
    void text(double x, double y, std::string const& text, TextStyle const& style);
    double text_width(std::string const& text, TextStyle const& style);
    /** The text, with its middle left out where it is wider than that. */
    std::string fit_text(std::string const& text, TextStyle const& style, double width);

    /**
     * Draws dots, one above the other, which `each` hands over one by one; what is outside `box` is
     * cut off. So many that a viewer would suffer from them are an image inside the picture.
     */
    void dots(Box const& box, size_t count, Each const& each);

    /** Ends the picture, and hands over the bytes of its file. */
    void finish(Write const& write);

private:
    struct Destroy {
        void operator()(cairo_t* drawing) const { cairo_destroy(drawing); }
        void operator()(cairo_surface_t* target) const { cairo_surface_destroy(target); }
    };

    using Surface = std::unique_ptr<cairo_surface_t, Destroy>;

    void set_colour(Colour colour, double alpha = 1);
    void choose_font(TextStyle const& style);
    void add_svg_text(double x, double y, std::string const& text, TextStyle const& style);
    std::string svg_document() const;
    void vector_dots(Box const& box, Each const& each);
    void image_dots(Box const& box, Each const& each);
    static void stamp_dots(cairo_surface_t* into, Box const& box, double density, double left,
                           double top, Each const& each);
    void check(cairo_surface_t* of) const;

    PlotFormat format_;
    double scale_;
    double unit_width_;
    double unit_height_;
    int width_;
    int height_;
    std::string title_;
    std::string bytes_;      // what cairo wrote of an SVG or PDF
    std::string svg_texts_;  // elements of an SVG
    std::vector<Surface> images_;
    Surface surface_;
    std::unique_ptr<cairo_t, Destroy> context_;
};

}  // namespace Tools
