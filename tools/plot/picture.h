#pragma once

#include <optional>
#include <string>

#include "tools/plot/canvas.h"
#include "tools/plot/data.h"

namespace Tools {

/** What a picture says besides the data. */
struct PlotText {
    std::string name;               // of the recording
    std::optional<double> trail_s;  // in a plan: how long targets stay; none: for ever
};

/** The first line of a picture. */
std::string plot_title(PlotView view, std::string const& name);

/** The second one: when, how long and how much. */
std::string plot_subtitle(PlotData const& data);

/** Draws the picture. */
void draw_plot(PlotCanvas& canvas, PlotData const& data, PlotText const& text);

/** The speed that has the strongest colour, in m/s. */
double speed_scale(PlotData const& data);

// The parts of a picture, for draw_plot().
void draw_plan(PlotCanvas& canvas, Box const& area, PlotData const& data, PlotText const& text);
void draw_chart(PlotCanvas& canvas, Box const& area, PlotData const& data);

/** A line in the middle of an area in which there is nothing else. */
void draw_nothing(PlotCanvas& canvas, Box const& area, PlotData const& data);

}  // namespace Tools
