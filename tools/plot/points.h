#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace Tools {

/** A target in a picture. */
struct PlotPoint {
    float x = 0;
    float y = 0;
    float speed = 0;  // in m/s
    float time = 0;   // in s since the first frame
};

/**
 * The targets of a recording of any length, in some 9 megabytes: each of them while they are not
 * many, then one for each cell of a grid, which grows with what it has to hold. One thread at a
 * time.
 */
class PlotPoints {
public:
    /** Which of two targets a cell keeps. */
    enum class Keep { kNewest, kFastest };

    explicit PlotPoints(Keep keep) : keep_(keep) {}

    /** Adds a point, whose numbers are finite. */
    void add(PlotPoint const& point);

    /** Calls `use` with each point that is kept, those that were added first mostly first. */
    void for_each(std::function<void(PlotPoint const&)> const& use) const;

    /** How many for_each() gives. */
    size_t size() const { return cells_.empty() ? points_.size() : occupied_; }

    static constexpr size_t kMostPoints = 50000;

private:
    static constexpr int kCells = 1024;  // a row, and a column

    /** One direction of the grid: cell i holds what is from (first + i) times the width on. */
    struct Axis {
        double width = 0;
        int first = -kCells / 2;

        int index(float value) const;
        float place(int index) const;
    };
    struct Cell {
        float speed = 0;
        float time = -1;  // of none
    };

    static bool is_inside(int index) { return index >= 0 && index < kCells; }
    void begin_grid();
    void put(PlotPoint const& point);
    void widen(Axis& axis, bool negative, size_t stride, size_t other_stride);
    bool replaces(Cell const& cell, Cell const& other) const;

    Keep keep_;
    std::vector<PlotPoint> points_;
    std::vector<Cell> cells_;
    size_t occupied_ = 0;
    Axis columns_;
    Axis rows_;
};

}  // namespace Tools
