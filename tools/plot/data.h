#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/frame_input.h"
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
    PlotData(PlotView view_, PlotLimits const& limits_);

    /** Takes the next frame. */
    void add(InputFrame const& frame);

    PlotView view() const { return plot_view; }
    PlotLimits const& limits() const { return plot_limits; }
    PlotPoints const& points() const { return plot_points; }
    /** The targets of the last frame; without those beyond the first kMostNewest. */
    std::vector<PlotPoint> const& newest() const { return newest_points; }

    uint64_t frames() const { return frame_count; }
    uint64_t targets() const { return target_count; }
    /** Targets that no picture can show: not a number, beyond 1000 km, or a negative range. */
    uint64_t unusable() const { return unusable_count; }
    /** Targets beyond the limits. */
    uint64_t beyond() const { return beyond_count; }

    uint64_t first_timestamp() const { return first; }
    double duration_s() const { return static_cast<double>(elapsed_us) / 1e6; }
    double largest_range() const { return most_range; }
    double largest_speed() const { return most_speed; }  // without its sign
    double largest_angle() const { return most_angle; }  // without its sign
    double lowest_y() const { return least_y; }
    double highest_y() const { return most_y; }

    static constexpr size_t kMostNewest = 200;

private:
    void move_time(uint64_t timestamp);
    void add_target(float range, float speed, float angle);
    void note_extent(PlotPoint const& point, float range, float angle);

    PlotView plot_view;
    PlotLimits plot_limits;
    PlotPoints plot_points;
    std::vector<PlotPoint> newest_points;
    uint64_t frame_count = 0;
    uint64_t target_count = 0;
    uint64_t unusable_count = 0;
    uint64_t beyond_count = 0;
    uint64_t first = 0;
    uint64_t last = 0;
    uint64_t elapsed_us = 0;
    double most_range = 0;
    double most_speed = 0;
    double most_angle = 0;
    double least_y = 0;
    double most_y = 0;
};

}  // namespace Tools
