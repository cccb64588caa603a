#pragma once

#include <string>
#include <vector>

namespace Tools {

/** The marks of an axis: round numbers at equal distances. */
struct AxisMarks {
    double step = 1;
    double low = 0;   // the first mark, at or below all that is to be shown
    double high = 1;  // the last one

    std::vector<double> places() const;

    /** A place as text, with as many digits as the step needs and a real minus. */
    std::string label(double place) const;
};

/** Marks from at or below `low` to at or above `high`, about `count` steps. Finite numbers only. */
AxisMarks marks_between(double low, double high, int count);

/** Whether a number is one that can be drawn: finite, and not beyond what any radar sees. */
bool can_be_drawn(float value);

}  // namespace Tools
