// The plan view: what the radar sees, from above.

#include <algorithm>
#include <array>
#include <cmath>

#include "tools/cli/time_text.h"
#include "tools/plot/axis.h"
#include "tools/plot/picture.h"

namespace Tools {

namespace {

using Align = TextStyle::Align;

constexpr double kDegree = 0.0174532925199432958;
constexpr double kLabelSize = 11;
constexpr int kLayers = 8;
constexpr double kFaintest = 0.2;

/** The part of a circle that is shown: so many degrees to both sides of straight ahead. */
double half_angle(double largest_angle) {
    for (const double degrees : {20.0, 30.0, 45.0, 60.0, 90.0}) {
        if (largest_angle <= (degrees + 0.5) * kDegree) return degrees;
    }
    return 180;
}

double bearing_step(double half_angle) {
    return half_angle <= 30 ? 10 : half_angle <= 60 ? 15 : 30;
}

/** Where places on the ground are in the picture. */
struct Plan {
    double half = 60;  // degrees
    AxisMarks ranges;
    double scale = 1;  // units of the picture for a metre
    double x = 0;      // of the radar
    double y = 0;

    Plan(Box const& area, PlotData const& data) {
        constexpr double kSideRoom = 34;
        constexpr double kTopRoom = 22;
        constexpr double kBottomRoom = 24;
        half = data.points().size() == 0 ? 60 : half_angle(data.largest_angle());
        const double range =
            data.limits().range.value_or(data.largest_range() > 1e-6 ? data.largest_range() : 10);
        const bool is_round = half > 90;
        const double across = 2 * std::sin(std::min(half, 90.0) * kDegree);
        const double width = area.width() - 2 * kSideRoom;
        const double height = area.height() - kTopRoom - kBottomRoom - (is_round ? 10 : 0);
        const double radius = std::min(width / across, height / (is_round ? 2 : 1));
        ranges = marks_between(0, range, std::clamp(static_cast<int>(radius / 65), 2, 6));
        scale = radius / ranges.high;
        x = area.left + area.width() / 2;
        const double top = area.top + kTopRoom + (height - radius * (is_round ? 2 : 1)) / 2;
        y = top + radius;
    }

    double radius() const { return ranges.high * scale; }
    double x_of(double bearing, double range) const {
        return x + range * std::sin(bearing) * scale;
    }
    double y_of(double bearing, double range) const {
        return y - range * std::cos(bearing) * scale;
    }
};

void draw_rings(PlotCanvas& canvas, Plan const& plan) {
    // Numbers stand beside the ray on the right, or below the line across.
    const double ray = std::min(plan.half, 90.0) * kDegree;
    const bool is_round = plan.half > 90;
    for (const double range : plan.ranges.places()) {
        if (range <= 0) continue;
        const bool is_last = range > plan.ranges.high - plan.ranges.step / 2;
        canvas.arc(plan.x, plan.y, range * plan.scale, -plan.half * kDegree, plan.half * kDegree,
                   is_last ? kFaintInk : kGridLine, 0.9);
        const double label_x = plan.x_of(ray, range) + (plan.half < 90 ? 9 : is_round ? -4 : 0);
        const double label_y = plan.y_of(ray, range) + 15;
        const Align align = plan.half < 90 ? Align::kLeft
                            : is_round     ? Align::kRight
                                           : Align::kCentre;
        canvas.text(label_x, label_y, plan.ranges.label(range) + (is_last ? " m" : ""),
                    {kLabelSize, align});
    }
}

void draw_bearings(PlotCanvas& canvas, Plan const& plan) {
    const double step = bearing_step(plan.half);
    const AxisMarks marks = {step, -plan.half, plan.half};
    for (const double degrees : marks.places()) {
        if (degrees <= -180) continue;  // is 180
        const double bearing = degrees * kDegree;
        const bool is_edge = std::abs(degrees) > plan.half - step / 2 && plan.half < 180;
        canvas.line(plan.x, plan.y, plan.x_of(bearing, plan.ranges.high),
                    plan.y_of(bearing, plan.ranges.high), is_edge ? kFaintInk : kGridLine, 0.9);
        const double beyond = plan.ranges.high + 13 / plan.scale;
        const Align align = std::abs(std::sin(bearing)) < 0.2 ? Align::kCentre
                            : degrees > 0                     ? Align::kLeft
                                                              : Align::kRight;
        const double nudge = align == Align::kLeft ? -6 : align == Align::kRight ? 6 : 0;
        const std::string sign = degrees > 0 && degrees < 180 ? "+" : "";
        canvas.text(plan.x_of(bearing, beyond) + nudge, plan.y_of(bearing, beyond) + 4,
                    sign + marks.label(degrees) + "\u00b0", {kLabelSize, align});
    }
}

/** How much of its strength a target still has; 0 for one that has gone. */
double freshness(double age_s, double trail_s) {
    if (trail_s <= 0) return age_s <= 0 ? 1 : 0;
    if (age_s > trail_s * 1.000001) return 0;
    const double share = std::clamp(1 - age_s / trail_s, 0.0, 1.0);
    return kFaintest + (1 - kFaintest) * share * share;
}

double dot_radius(size_t count) {
    return count < 500 ? 2.6 : count < 10000 ? 1.9 : 1.3;
}

void draw_trail(PlotCanvas& canvas, Box const& area, Plan const& plan, PlotData const& data,
                double trail_s) {
    const double scale = speed_scale(data);
    const double radius = dot_radius(data.points().size());
    canvas.dots(area, data.points().size(), [&](auto const& draw) {
        // The newest on top.
        for (int layer = 0; layer < kLayers; ++layer) {
            data.points().for_each([&](PlotPoint const& point) {
                const double fresh =
                    freshness(data.duration_s() - static_cast<double>(point.time), trail_s);
                if (fresh <= 0 || static_cast<int>(fresh * (kLayers - 0.01)) != layer) return;
                draw({plan.x + static_cast<double>(point.x) * plan.scale,
                      plan.y - static_cast<double>(point.y) * plan.scale, radius,
                      speed_colour(static_cast<double>(point.speed) / scale), fresh});
            });
        }
    });
}

void draw_newest(PlotCanvas& canvas, Plan const& plan, PlotData const& data) {
    const double scale = speed_scale(data);
    for (PlotPoint const& point : data.newest()) {
        canvas.marker({plan.x + static_cast<double>(point.x) * plan.scale,
                       plan.y - static_cast<double>(point.y) * plan.scale, 4.2,
                       speed_colour(static_cast<double>(point.speed) / scale), 1},
                      kInk);
    }
}

std::string caption(PlotData const& data, double trail_s) {
    const std::string last = "Circles: the last frame.";
    if (data.frames() < 2 || trail_s <= 0) return last;
    return last + " Dots: the " + duration_text(trail_s * 1e6) + " before it, fading.";
}

}  // namespace

void draw_plan(PlotCanvas& canvas, Box const& area, PlotData const& data, PlotText const& text) {
    const Box ground = {area.left, area.top, area.right, area.bottom - 20};
    const Plan plan(ground, data);
    const double trail_s = std::min(text.trail_s.value_or(data.duration_s()), data.duration_s());
    draw_rings(canvas, plan);
    draw_bearings(canvas, plan);
    draw_trail(canvas, ground, plan, data, trail_s);
    draw_newest(canvas, plan, data);
    canvas.triangle(plan.x, plan.y - 4, 9, kInk);
    draw_nothing(canvas, {ground.left, plan.y - plan.radius(), ground.right, plan.y}, data);
    if (data.points().size() == 0) return;
    const TextStyle style = {kLabelSize, Align::kLeft, false, false, kFaintInk};
    canvas.text(area.left, area.bottom - 2,
                canvas.fit_text(caption(data, trail_s), style, area.width()), style);
}

}  // namespace Tools
