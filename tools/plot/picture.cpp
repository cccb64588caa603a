#include "tools/plot/picture.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "kit/base/text.h"
#include "tools/cli/time_text.h"
#include "tools/plot/axis.h"
#include "tools/plot/text.h"

namespace Tools {

namespace {

using Align = TextStyle::Align;

constexpr double kMargin = 18;
constexpr double kTitleSize = 17;
constexpr double kTextSize = 12;
constexpr double kTitleHeight = 62;
constexpr double kLegendWidth = 104;
constexpr double kBarWidth = 14;
constexpr double kHighestBar = 300;
constexpr int kBarSteps = 64;

std::string grouped_count(uint64_t count, std::string const& what) {
    std::string digits = std::to_string(count);
    for (size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, "\u202F");
    return digits + " " + what + (count == 1 ? "" : "s");
}

void draw_head(PlotCanvas& canvas, PlotData const& data, PlotText const& text) {
    const double width = canvas.width() - 2 * kMargin;
    const TextStyle title = {kTitleSize, Align::kLeft, true};
    const TextStyle subtitle = {kTextSize, Align::kLeft, false, false, kFaintInk};
    std::string name = Kit::valid_utf8(Kit::printable(text.name));
    const std::string before = plot_title(data.view(), "");
    name = canvas.fit_text(name, title, width - canvas.text_width(before, title));
    canvas.text(kMargin, kMargin + 14, before + name, title);
    canvas.text(kMargin, kMargin + 33, canvas.fit_text(plot_subtitle(data), subtitle, width),
                subtitle);
}

/** The colours of speeds, with their numbers. */
void draw_legend(PlotCanvas& canvas, Box const& area, PlotData const& data) {
    const double scale = speed_scale(data);
    const double height = std::min(area.height() - 40, kHighestBar);
    const double top = area.top + (area.height() - height) / 2;
    const Box bar = {area.left + 22, top, area.left + 22 + kBarWidth, top + height};
    for (int i = 0; i < kBarSteps; ++i) {
        const double step = height / kBarSteps;
        const double share = 1 - 2 * (i + 0.5) / kBarSteps;
        canvas.fill(
            {bar.left, top + i * step, bar.right, std::min(top + (i + 1.3) * step, bar.bottom)},
            speed_colour(share));
    }
    canvas.frame(bar, kFaintInk, 0.8);
    const AxisMarks marks = marks_between(-scale, scale, height < 150 ? 2 : 6);
    for (const double place : marks.places()) {
        if (std::abs(place) > scale * 1.001) continue;
        const double y = top + height * (1 - place / scale) / 2;
        canvas.line(bar.right, y, bar.right + 4, y, kFaintInk, 0.8);
        canvas.text(bar.right + 7, y + 4, marks.label(place), {11});
    }
    canvas.text(bar.left - 8, top + height / 2, "radial speed (m/s)",
                {kTextSize, Align::kCentre, false, true});
    canvas.text(bar.left - 4, top - 9, "receding", {11, Align::kLeft, false, false, kFaintInk});
    canvas.text(bar.left - 4, bar.bottom + 17, "approaching",
                {11, Align::kLeft, false, false, kFaintInk});
}

}  // namespace

std::string plot_title(PlotView view, std::string const& name) {
    switch (view) {
        case PlotView::kRange:
            return "Range over time: " + name;
        case PlotView::kSpeed:
            return "Radial speed over time: " + name;
        case PlotView::kPlan:
            break;
    }
    return "Plan view: " + name;
}

std::string plot_subtitle(PlotData const& data) {
    if (data.frames() == 0) return "no frames";
    const uint64_t begin = data.first_timestamp();
    std::string text;
    if (looks_like_date(begin)) {
        const std::string utc = utc_text(begin);  // 2025-05-15T09:30:07.042000Z
        text = utc.substr(0, 10) + " " + utc.substr(11, 12) + " UTC";
    } else {
        text = fmt::format("from {} \u00b5s", begin);
    }
    if (data.frames() > 1) text += ", " + duration_text(data.duration_s() * 1e6);
    return text + ", " + grouped_count(data.frames(), "frame") + ", " +
           grouped_count(data.targets(), "target");
}

double speed_scale(PlotData const& data) {
    if (data.limits().speed) return *data.limits().speed;
    if (data.largest_speed() < 1e-6) return 1;
    return marks_between(0, data.largest_speed(), 4).high;
}

void draw_nothing(PlotCanvas& canvas, Box const& area, PlotData const& data) {
    if (data.points().size() > 0) return;
    canvas.text((area.left + area.right) / 2, area.top + area.height() / 2,
                data.frames() == 0 ? "no frames" : "no targets",
                {16, Align::kCentre, false, false, kFaintInk});
}

void draw_plot(PlotCanvas& canvas, PlotData const& data, PlotText const& text) {
    draw_head(canvas, data, text);
    const Box area = {kMargin, kMargin + kTitleHeight - 8, canvas.width() - kMargin - kLegendWidth,
                      canvas.height() - kMargin};
    if (data.view() == PlotView::kPlan) {
        draw_plan(canvas, area, data, text);
    } else {
        draw_chart(canvas, area, data);
    }
    draw_legend(canvas, {area.right, area.top, canvas.width() - kMargin, area.bottom}, data);
}

}  // namespace Tools
