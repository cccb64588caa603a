// Charts over time.

#include <algorithm>
#include <cmath>

#include "tools/plot/axis.h"
#include "tools/plot/picture.h"

namespace Tools {

namespace {

using Align = TextStyle::Align;

constexpr double kLabelSize = 11;
constexpr double kTitleSize = 12;
/** Room beside the chart for the numbers and names of its axes. */
constexpr double kLeftRoom = 62;
constexpr double kBottomRoom = 42;
constexpr int kLayers = 4;

/** How time is told: in this unit, of so many seconds. */
struct TimeUnit {
    char const* name;
    double seconds;
};

TimeUnit unit_for(double duration_s) {
    if (duration_s < 0.5) return {"ms", 1e-3};
    if (duration_s < 600) return {"s", 1};
    return duration_s < 36000 ? TimeUnit{"min", 60} : TimeUnit{"h", 3600};
}

/** A chart's axes, and where its values are in the picture. */
class Chart {
public:
    Chart(Box const& box, PlotData const& data)
        : box_(box),
          unit_(unit_for(data.duration_s())),
          times_(marks_between(0, std::max(data.duration_s() / unit_.seconds, 1e-3),
                               mark_count(box.width(), 110))),
          values_(value_marks(data, mark_count(box.height(), 60))) {}

    double x(double time_s) const {
        return box_.left + box_.width() * (time_s / unit_.seconds - times_.low) / time_span();
    }
    double y(double value) const {
        return box_.bottom - box_.height() * (value - values_.low) / (values_.high - values_.low);
    }

    void draw_axes(PlotCanvas& canvas, PlotData const& data) const {
        for (const double place : times_.places()) {
            const double at = x(place * unit_.seconds);
            if (at > box_.right + 0.5) continue;
            canvas.line(at, box_.top, at, box_.bottom, kGridLine, 0.8);
            canvas.text(at, box_.bottom + 16, times_.label(place), {kLabelSize, Align::kCentre});
        }
        for (const double place : values_.places()) {
            const bool is_zero = std::abs(place) < values_.step / 2;
            canvas.line(box_.left, y(place), box_.right, y(place), is_zero ? kFaintInk : kGridLine,
                        0.8);
            canvas.text(box_.left - 7, y(place) + 4, values_.label(place),
                        {kLabelSize, Align::kRight});
        }
        canvas.text(box_.left + box_.width() / 2, box_.bottom + 36,
                    std::string("time since the first frame (") + unit_.name + ")",
                    {kTitleSize, Align::kCentre});
        canvas.text(box_.left - kLeftRoom + 16, box_.top + box_.height() / 2,
                    data.view() == PlotView::kSpeed ? "radial speed (m/s)" : "range (m)",
                    {kTitleSize, Align::kCentre, false, true});
    }

private:
    static int mark_count(double length, double room) {
        return std::clamp(static_cast<int>(length / room), 2, 10);
    }

    static AxisMarks value_marks(PlotData const& data, int count) {
        if (data.view() == PlotView::kSpeed) {
            if (data.limits().speed) {
                return marks_between(-*data.limits().speed, *data.limits().speed, count);
            }
            if (data.largest_speed() < 1e-6) return marks_between(-1, 1, count);
            return marks_between(data.lowest_y(), data.highest_y(), count);
        }
        if (data.limits().range) return marks_between(0, *data.limits().range, count);
        return marks_between(0, data.largest_range() > 1e-6 ? data.largest_range() : 10, count);
    }

    /** To the last frame, and no further than a mark. */
    double time_span() const { return times_.high - times_.low; }

    Box box_;
    TimeUnit unit_;
    AxisMarks times_;
    AxisMarks values_;
};

double dot_radius(size_t count) {
    return count < 50 ? 3.4 : count < 500 ? 2.4 : count < 5000 ? 1.8 : count < 50000 ? 1.3 : 0.9;
}

}  // namespace

void draw_chart(PlotCanvas& canvas, Box const& area, PlotData const& data) {
    const Box box = {area.left + kLeftRoom, area.top, area.right - 14, area.bottom - kBottomRoom};
    const Chart chart(box, data);
    chart.draw_axes(canvas, data);
    const double scale = speed_scale(data);
    const double radius = dot_radius(data.points().size());
    // Whole dots also on the frame, where the first and the last ones are.
    const Box dots_box = {box.left - radius, box.top - radius, box.right + radius,
                          box.bottom + radius};
    canvas.frame(box, kFaintInk, 1);
    canvas.dots(dots_box, data.points().size(), [&](auto const& draw) {
        // The faster, the later and so on top: what moves is not hidden by what stands.
        for (int layer = 0; layer < kLayers; ++layer) {
            data.points().for_each([&](PlotPoint const& point) {
                const double share = static_cast<double>(point.speed) / scale;
                const int place = static_cast<int>(std::min(std::abs(share), 0.999) * kLayers);
                if (place != layer) return;
                draw({chart.x(static_cast<double>(point.time)),
                      chart.y(static_cast<double>(point.y)), radius, speed_colour(share), 0.85});
            });
        }
    });
    draw_nothing(canvas, box, data);
}

}  // namespace Tools
