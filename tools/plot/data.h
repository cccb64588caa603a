#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/frame.h"
#include "tools/plot/points.h"

namespace Tools {

enum class PlotView {
    kPlan,   // where targets are, from above: x to the right of the radar, y ahead of it, in m
    kRange,  // x is the time in s, y the range in m
    kSpeed   // x is the time in s, y the radial speed in m/s
};

/** The largest values that a picture shows; none: what there is. */
struct PlotLimits {
    std::optional<double> range;  // m
    std::optional<double> speed;  // m/s
};

/**
 * What a picture of a recording needs to know of it, in bounded memory. Times are the timestamps,
 * taken as us, without steps back: a frame that is earlier than the one before stands beside it.
 * One thread at a time.
 */
class PlotData {
public:
    PlotData(PlotView view, PlotLimits const& limits);

    /** Takes the next frame. */
    void add(InputFrame const& frame);

    PlotView view() const { return plot_view_; }
    PlotLimits const& limits() const { return plot_limits_; }
    PlotPoints const& points() const { return plot_points_; }
    /** The targets of the last frame; without those beyond the first kMostNewest. */
    std::vector<PlotPoint> const& newest() const { return newest_points_; }

    uint64_t frames() const { return frame_count_; }
    uint64_t targets() const { return target_count_; }
    /** Targets that no picture can show: not a number, beyond 1000 km, or a negative range. */
    uint64_t unusable() const { return unusable_count_; }
    /** Targets beyond the limits. */
    uint64_t beyond() const { return beyond_count_; }

    uint64_t first_timestamp() const { return first_; }
    double duration_s() const { return static_cast<double>(elapsed_us_) / 1e6; }
    double largest_range() const { return most_range_; }
    double largest_speed() const { return most_speed_; }  // without its sign
    double largest_angle() const { return most_angle_; }  // without its sign
    double lowest_y() const { return least_y_; }
    double highest_y() const { return most_y_; }

    static constexpr size_t kMostNewest = 200;

private:
    void move_time(uint64_t timestamp);
    void add_target(float range, float speed, float angle);
    void note_extent(PlotPoint const& point, float range, float angle);

    PlotView plot_view_;
    PlotLimits plot_limits_;
    PlotPoints plot_points_;
    std::vector<PlotPoint> newest_points_;
    uint64_t frame_count_ = 0;
    uint64_t target_count_ = 0;
    uint64_t unusable_count_ = 0;
    uint64_t beyond_count_ = 0;
    uint64_t first_ = 0;
    uint64_t last_ = 0;
    uint64_t elapsed_us_ = 0;
    double most_range_ = 0;
    double most_speed_ = 0;
    double most_angle_ = 0;
    double least_y_ = 0;
    double most_y_ = 0;
};

}  // namespace Tools
