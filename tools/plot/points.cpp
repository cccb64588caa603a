#include "tools/plot/points.h"

#include <algorithm>
#include <cmath>

namespace Tools {

int PlotPoints::Axis::index(float value) const {
    const double place = std::floor(static_cast<double>(value) / width) - first;
    return static_cast<int>(std::clamp(place, -1.0, static_cast<double>(kCells)));
}

float PlotPoints::Axis::place(int index) const {
    return static_cast<float>((first + index + 0.5) * width);
}

void PlotPoints::add(PlotPoint const& point) {
    if (cells_.empty()) {
        points_.push_back(point);
        if (points_.size() > kMostPoints) begin_grid();
    } else {
        put(point);
    }
}

void PlotPoints::for_each(std::function<void(PlotPoint const&)> const& use) const {
    for (PlotPoint const& point : points_) use(point);
    for (size_t i = 0; i < cells_.size(); ++i) {
        if (cells_[i].time < 0) continue;
        use({columns_.place(static_cast<int>(i % kCells)),
             rows_.place(static_cast<int>(i / kCells)), cells_[i].speed, cells_[i].time});
    }
}

/** From now on cells, just wide enough for the points so far. */
void PlotPoints::begin_grid() {
    float least_x = 0;
    float least_y = 0;
    float most_x = 1e-3F;
    float most_y = 1e-3F;
    for (PlotPoint const& point : points_) {
        least_x = std::min(least_x, point.x);
        least_y = std::min(least_y, point.y);
        most_x = std::max(most_x, std::abs(point.x));
        most_y = std::max(most_y, std::abs(point.y));
    }
    if (least_x >= 0) columns_.first = 0;
    if (least_y >= 0) rows_.first = 0;
    columns_.width = 1.001 * static_cast<double>(most_x) / (kCells + std::min(columns_.first, 0));
    rows_.width = 1.001 * static_cast<double>(most_y) / (kCells + std::min(rows_.first, 0));
    cells_.resize(static_cast<size_t>(kCells) * kCells);
    for (PlotPoint const& point : points_) put(point);
    points_ = {};
}

void PlotPoints::put(PlotPoint const& point) {
    while (!is_inside(columns_.index(point.x))) widen(columns_, point.x < 0, 1, kCells);
    while (!is_inside(rows_.index(point.y))) widen(rows_, point.y < 0, kCells, 1);
    const auto column = static_cast<size_t>(columns_.index(point.x));
    const auto row = static_cast<size_t>(rows_.index(point.y));
    Cell& cell = cells_[row * kCells + column];
    if (cell.time < 0) ++occupied_;
    const Cell another = {point.speed, point.time};
    if (replaces(another, cell)) cell = another;
}

/** Makes cells twice as wide: two neighbours become one. A grid that begins at 0 gets a negative
 * half when that is needed. */
void PlotPoints::widen(Axis& axis, bool negative, size_t stride, size_t other_stride) {
    const int first = negative ? -kCells / 2 : axis.first;
    std::vector<Cell> line(kCells);
    for (size_t other = 0; other < kCells; ++other) {
        Cell* const begin = &cells_[other * other_stride];
        for (size_t i = 0; i < kCells; ++i) {
            line[i] = begin[i * stride];
            begin[i * stride] = Cell();
        }
        for (int i = 0; i < kCells; ++i) {
            Cell const& cell = line[static_cast<size_t>(i)];
            if (cell.time < 0) continue;
            const int wide = static_cast<int>(std::floor((axis.first + i) / 2.0)) - first;
            Cell& merged = begin[static_cast<size_t>(wide) * stride];
            if (merged.time >= 0) --occupied_;
            if (replaces(cell, merged)) merged = cell;
        }
    }
    axis.width *= 2;
    axis.first = first;
}

bool PlotPoints::replaces(Cell const& cell, Cell const& other) const {
    if (other.time < 0) return true;
    return keep_ == Keep::kNewest ? cell.time >= other.time
                                  : std::abs(cell.speed) >= std::abs(other.speed);
}

}  // namespace Tools
