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

PlotData::PlotData(PlotView view, PlotLimits const& limits)
    : plot_view_(view),
      plot_limits_(limits),
      plot_points_(view == PlotView::kPlan ? PlotPoints::Keep::kNewest
                                           : PlotPoints::Keep::kFastest) {}

void PlotData::add(InputFrame const& frame) {
    move_time(frame.timestamp);
    ++frame_count_;
    newest_points_.clear();
    Kit::TargetReader reader(frame.payload);
    for (std::string_view target; reader.next(target);) {
        const Kit::TargetValues values = Kit::read_target(target);
        ++target_count_;
        add_target(values.r, values.rdot, values.theta);
    }
}

void PlotData::move_time(uint64_t timestamp) {
    if (frame_count_ == 0) {
        first_ = timestamp;
    } else if (timestamp > last_) {
        elapsed_us_ += timestamp - last_;
    }
    last_ = timestamp;
}

void PlotData::add_target(float range, float speed, float angle) {
    if (!can_be_drawn(range) || !can_be_drawn(speed) || !can_be_drawn(angle) || range < 0) {
        ++unusable_count_;
        return;
    }
    const bool speed_is_place = plot_view_ == PlotView::kSpeed;
    if (speed_is_place ? is_beyond(speed, plot_limits_.speed)
                       : is_beyond(range, plot_limits_.range)) {
        ++beyond_count_;
        return;
    }
    const float direction = std::remainder(angle, kWholeTurn);
    const auto time = static_cast<float>(duration_s());
    PlotPoint point = {time, speed_is_place ? speed : range, speed, time};
    if (plot_view_ == PlotView::kPlan) {
        point.x = range * std::sin(direction);
        point.y = range * std::cos(direction);
    }
    note_extent(point, range, direction);
    plot_points_.add(point);
    if (newest_points_.size() < kMostNewest) newest_points_.push_back(point);
}

void PlotData::note_extent(PlotPoint const& point, float range, float angle) {
    most_range_ = std::max<double>(most_range_, range);
    most_speed_ = std::max<double>(most_speed_, std::abs(point.speed));
    most_angle_ = std::max<double>(most_angle_, std::abs(angle));
    least_y_ = std::min<double>(least_y_, point.y);
    most_y_ = std::max<double>(most_y_, point.y);
}

}  // namespace Tools
