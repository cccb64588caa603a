#include "tools/plot/canvas.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "kit/base/error.h"
#include "kit/base/text.h"
#include "tools/plot/dot_image.h"
#include "tools/plot/text.h"

namespace Tools {

namespace {

/** The size, in units, of a picture whose text is as large as its pixels. */
constexpr double kUsualWidth = 900;
constexpr double kUsualHeight = 600;
constexpr double kSmallestScale = 0.7;

/** More dots than that are an image in an SVG or a PDF. */
constexpr size_t kMostVectorDots = 2000;
/** Pixels of that image for a unit of an SVG or a PDF. */
constexpr double kImageScale = 1.5;
constexpr double kMostImagePixels = 1000000;

constexpr char kFont[] = "sans-serif";

cairo_status_t append(void* text, unsigned char const* data, unsigned int size) {
    static_cast<std::string*>(text)->append(reinterpret_cast<char const*>(data), size);
    return CAIRO_STATUS_SUCCESS;
}

cairo_status_t hand_over(void* write, unsigned char const* data, unsigned int size) {
    (*static_cast<PlotCanvas::Write const*>(write))({reinterpret_cast<char const*>(data), size});
    return CAIRO_STATUS_SUCCESS;
}

cairo_surface_t* make_surface(PlotFormat format, int width, int height, std::string& bytes) {
    switch (format) {
        case PlotFormat::kSvg:
            return cairo_svg_surface_create_for_stream(append, &bytes, width, height);
        case PlotFormat::kPdf:
            return cairo_pdf_surface_create_for_stream(append, &bytes, width, height);
        case PlotFormat::kPng:
            break;
    }
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
}

/** The element that an XML document consists of, after its declaration. */
std::string_view root_element(std::string_view document) {
    constexpr std::string_view kDeclarationEnd = "?>";
    const size_t end = document.find(kDeclarationEnd);
    if (end != std::string_view::npos) document.remove_prefix(end + kDeclarationEnd.size());
    return document;
}

}  // namespace

PlotCanvas::PlotCanvas(PlotFormat format, int width, int height, std::string const& title)
    : format_(format),
      scale_(std::max(std::min(width / kUsualWidth, height / kUsualHeight), kSmallestScale)),
      unit_width_(width / scale_),
      unit_height_(height / scale_),
      width_(width),
      height_(height),
      title_(title),
      surface_(make_surface(format, width, height, bytes_)),
      context_(cairo_create(surface_.get())) {
    check(surface_.get());
    if (format_ == PlotFormat::kSvg) {
        cairo_svg_surface_set_document_unit(surface_.get(), CAIRO_SVG_UNIT_PX);
    }
    if (format_ == PlotFormat::kPdf) {
        cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_TITLE, title_.c_str());
    }
    cairo_scale(context_.get(), scale_, scale_);
    cairo_set_line_cap(context_.get(), CAIRO_LINE_CAP_ROUND);
    fill({0, 0, unit_width_, unit_height_}, kPaper);
}

// The surface writes to members of this object, and reads the images, when it ends.
PlotCanvas::~PlotCanvas() {
    cairo_surface_finish(surface_.get());
}

void PlotCanvas::check(cairo_surface_t* of) const {
    cairo_status_t status = cairo_surface_status(of);
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_status(context_.get());
    if (status == CAIRO_STATUS_SUCCESS) return;
    throw Kit::Error(std::string("cannot draw: ") + cairo_status_to_string(status));
}

void PlotCanvas::set_colour(Colour colour, double alpha) {
    cairo_set_source_rgba(context_.get(), colour.red, colour.green, colour.blue, alpha);
}

void PlotCanvas::line(double x1, double y1, double x2, double y2, Colour colour, double thickness) {
    set_colour(colour);
    cairo_set_line_width(context_.get(), thickness);
    cairo_move_to(context_.get(), x1, y1);
    cairo_line_to(context_.get(), x2, y2);
    cairo_stroke(context_.get());
}

void PlotCanvas::arc(double x, double y, double radius, double from, double to, Colour colour,
                     double thickness) {
    constexpr double kQuarter = 1.57079632679489662;
    set_colour(colour);
    cairo_set_line_width(context_.get(), thickness);
    cairo_new_path(context_.get());  // not from where the last text ended
    cairo_arc(context_.get(), x, y, radius, from - kQuarter, to - kQuarter);
    cairo_stroke(context_.get());
}

void PlotCanvas::fill(Box const& box, Colour colour) {
    set_colour(colour);
    cairo_rectangle(context_.get(), box.left, box.top, box.width(), box.height());
    cairo_fill(context_.get());
}

void PlotCanvas::frame(Box const& box, Colour colour, double thickness) {
    set_colour(colour);
    cairo_set_line_width(context_.get(), thickness);
    cairo_rectangle(context_.get(), box.left, box.top, box.width(), box.height());
    cairo_stroke(context_.get());
}

void PlotCanvas::triangle(double x, double y, double size, Colour colour) {
    set_colour(colour);
    cairo_move_to(context_.get(), x, y);
    cairo_line_to(context_.get(), x + size / 2, y + size);
    cairo_line_to(context_.get(), x - size / 2, y + size);
    cairo_close_path(context_.get());
    cairo_fill(context_.get());
}

void PlotCanvas::marker(Dot const& dot, Colour edge) {
    constexpr double kWholeTurn = 6.28318530717958648;
    cairo_new_path(context_.get());
    cairo_arc(context_.get(), dot.x, dot.y, dot.radius, 0, kWholeTurn);
    set_colour(dot.colour, dot.alpha);
    cairo_fill_preserve(context_.get());
    set_colour(edge);
    cairo_set_line_width(context_.get(), 0.8);
    cairo_stroke(context_.get());
}

void PlotCanvas::choose_font(TextStyle const& style) {
    cairo_select_font_face(context_.get(), kFont, CAIRO_FONT_SLANT_NORMAL,
                           style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context_.get(), style.size);
}

double PlotCanvas::text_width(std::string const& text, TextStyle const& style) {
    cairo_text_extents_t extents;
    choose_font(style);
    cairo_text_extents(context_.get(), text.c_str(), &extents);
    return extents.x_advance;
}

std::string PlotCanvas::fit_text(std::string const& text, TextStyle const& style, double width) {
    if (text_width(text, style) <= width) return text;
    const std::vector<std::string> characters = Kit::characters_of(text);
    for (size_t kept = characters.size(); kept-- > 2;) {
        std::string shorter;
        for (size_t i = 0; i < kept / 2; ++i) shorter += characters[i];
        shorter += "\u2026";
        for (size_t i = characters.size() - (kept - kept / 2); i < characters.size(); ++i) {
            shorter += characters[i];
        }
        if (text_width(shorter, style) <= width) return shorter;
    }
    return "\u2026";
}

void PlotCanvas::text(double x, double y, std::string const& text, TextStyle const& style) {
    if (format_ == PlotFormat::kSvg) return add_svg_text(x, y, text, style);
    const double width = text_width(text, style);
    const double shift = style.align == TextStyle::Align::kLeft     ? 0
                         : style.align == TextStyle::Align::kCentre ? width / 2
                                                                    : width;
    cairo_save(context_.get());
    cairo_translate(context_.get(), x, y);
    if (style.upwards) cairo_rotate(context_.get(), -1.57079632679489662);
    cairo_move_to(context_.get(), -shift, 0);
    set_colour(style.colour);
    cairo_show_text(context_.get(), text.c_str());
    cairo_restore(context_.get());
}

void PlotCanvas::add_svg_text(double x, double y, std::string const& text, TextStyle const& style) {
    constexpr std::array<char const*, 3> kAnchors = {"start", "middle", "end"};
    const auto part = [](double share) { return static_cast<int>(std::lround(255 * share)); };
    const double left = x * scale_;
    const double base = y * scale_;
    svg_texts_ += fmt::format(
        R"(<text x="{:.2f}" y="{:.2f}" font-size="{:.2f}" text-anchor="{}" )"
        R"(fill="#{:02x}{:02x}{:02x}"{}{}>{}</text>)"
        "\n",
        left, base, style.size * scale_, kAnchors[static_cast<size_t>(style.align)],
        part(style.colour.red), part(style.colour.green), part(style.colour.blue),
        style.bold ? R"( font-weight="bold")" : "",
        style.upwards ? fmt::format(R"~( transform="rotate(-90 {:.2f} {:.2f})")~", left, base) : "",
        xml_text(text));
}

/**
 * Cairo makes shapes of letters, which nobody can select or search, and knows no title. So the
 * document is this program's own: a title, what cairo drew as a nested svg element, and the texts.
 */
std::string PlotCanvas::svg_document() const {
    return fmt::format(R"(<?xml version="1.0" encoding="UTF-8"?>
<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{1}" viewBox="0 0 {0} {1}">
<title>{2}</title>{3}<g font-family="Helvetica, Arial, sans-serif">
{4}</g>
</svg>
)",
                       width_, height_, xml_text(title_), root_element(bytes_), svg_texts_);
}

void PlotCanvas::dots(Box const& box, size_t count, Each const& each) {
    if (format_ != PlotFormat::kPng && count <= kMostVectorDots) {
        vector_dots(box, each);
    } else {
        image_dots(box, each);
    }
}

void PlotCanvas::vector_dots(Box const& box, Each const& each) {
    cairo_save(context_.get());
    cairo_rectangle(context_.get(), box.left, box.top, box.width(), box.height());
    cairo_clip(context_.get());
    each([this](Dot const& dot) {
        // A line without length and with round ends: the shortest way to say it in a file.
        set_colour(dot.colour, dot.alpha);
        cairo_set_line_width(context_.get(), 2 * dot.radius);
        cairo_move_to(context_.get(), dot.x, dot.y);
        cairo_line_to(context_.get(), dot.x, dot.y);
        cairo_stroke(context_.get());
    });
    cairo_restore(context_.get());
}

void PlotCanvas::image_dots(Box const& box, Each const& each) {
    if (format_ == PlotFormat::kPng) return stamp_dots(surface_.get(), box, scale_, 0, 0, each);
    const double density =
        std::min(scale_ * kImageScale, std::sqrt(kMostImagePixels / (box.width() * box.height())));
    const double left = std::floor(box.left * density);
    const double top = std::floor(box.top * density);
    Surface image(cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil(box.right * density) - left),
        static_cast<int>(std::ceil(box.bottom * density) - top)));
    check(image.get());
    stamp_dots(image.get(), box, density, left, top, each);
    cairo_save(context_.get());
    cairo_scale(context_.get(), 1 / density, 1 / density);
    cairo_set_source_surface(context_.get(), image.get(), left, top);
    cairo_paint(context_.get());
    cairo_restore(context_.get());
    // The file takes the image at its end; until then cairo need not copy it.
    images_.push_back(std::move(image));
}

/** Stamps dots into an image of so many pixels a unit, whose corner is at `left`, `top`. */
void PlotCanvas::stamp_dots(cairo_surface_t* into, Box const& box, double density, double left,
                            double top, Each const& each) {
    DotImage image(into);
    const auto pixel = [&](double place, double origin) {
        return static_cast<int>(std::lround(place * density - origin));
    };
    image.clip(pixel(box.left, left), pixel(box.top, top), pixel(box.right, left),
               pixel(box.bottom, top));
    each([&](Dot const& dot) {
        image.stamp(dot.x * density - left, dot.y * density - top, dot.radius * density, dot.colour,
                    dot.alpha);
    });
}

void PlotCanvas::finish(Write const& write) {
    if (format_ == PlotFormat::kPng) {
        cairo_surface_flush(surface_.get());
        cairo_surface_write_to_png_stream(surface_.get(), hand_over, const_cast<Write*>(&write));
        return check(surface_.get());
    }
    cairo_show_page(context_.get());
    cairo_surface_finish(surface_.get());
    check(surface_.get());
    write(format_ == PlotFormat::kSvg ? svg_document() : bytes_);
}

}  // namespace Tools
