#include "tools/plot/data.h"

#include <algorithm>
#include <cmath>

#include "kit/encoding/target_reader.h"
#include "tools/plot/axis.h"

namespace Tools {

namespace {

constexpr float kWholeTurn = 6.28318531F;

bool is_beyond(float value, std::optional<double> const& limit) {
    return limit && std::abs(static_cast<double>(value)) > *limit;
}

}  // namespace

PlotData::PlotData(PlotView view_, PlotLimits const& limits_)
    : plot_view(view_),
      plot_limits(limits_),
      plot_points(view_ == PlotView::kPlan ? PlotPoints::Keep::kNewest
                                           : PlotPoints::Keep::kFastest) {}

void PlotData::add(InputFrame const& frame) {
    move_time(frame.timestamp);
    ++frame_count;
    newest_points.clear();
    Kit::TargetReader reader(frame.payload);
    for (std::string_view target; reader.next(target);) {
        const Kit::TargetValues values = Kit::read_target(target);
        ++target_count;
        add_target(values.r, values.rdot, values.theta);
    }
}

void PlotData::move_time(uint64_t timestamp) {
    if (frame_count == 0) {
        first = timestamp;
    } else if (timestamp > last) {
        elapsed_us += timestamp - last;
    }
    last = timestamp;
}

void PlotData::add_target(float range, float speed, float angle) {
    if (!can_be_drawn(range) || !can_be_drawn(speed) || !can_be_drawn(angle) || range < 0) {
        ++unusable_count;
        return;
    }
    const bool speed_is_place = plot_view == PlotView::kSpeed;
    if (speed_is_place ? is_beyond(speed, plot_limits.speed)
                       : is_beyond(range, plot_limits.range)) {
        ++beyond_count;
        return;
    }
    const float direction = std::remainder(angle, kWholeTurn);
    const auto time = static_cast<float>(duration_s());
    PlotPoint point = {time, speed_is_place ? speed : range, speed, time};
    if (plot_view == PlotView::kPlan) {
        point.x = range * std::sin(direction);
        point.y = range * std::cos(direction);
    }
    note_extent(point, range, direction);
    plot_points.add(point);
    if (newest_points.size() < kMostNewest) newest_points.push_back(point);
}

void PlotData::note_extent(PlotPoint const& point, float range, float angle) {
    most_range = std::max<double>(most_range, range);
    most_speed = std::max<double>(most_speed, std::abs(point.speed));
    most_angle = std::max<double>(most_angle, std::abs(angle));
    least_y = std::min<double>(least_y, point.y);
    most_y = std::max<double>(most_y, point.y);
}

}  // namespace Tools
