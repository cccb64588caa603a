#include "tools/plot/plot.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "kit/base/positive_number.h"
#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "tools/cli/options.h"
#include "tools/cli/source_name.h"
#include "tools/input/damage_report.h"
#include "tools/input/open.h"
#include "tools/output/destination.h"
#include "tools/output/file.h"
#include "tools/plot/picture.h"
#include "tools/plot/text.h"
#include "tools/screen/progress.h"

namespace Tools {

namespace {

constexpr int kLeastSide = 240;
/** A picture of that many pixels takes 8 megabytes while it is drawn. */
constexpr long long kMostPixels = 2000000;

/** Seconds, metres and m/s of options are not larger. */
constexpr double kLargestNumber = 1e6;

struct Options {
    SourceOptions input;
    OutputOptions output;
    std::string view = "plan";
    int width = 1200;
    int height = 800;
    PlotLimits limits;
    std::optional<double> trail_s;
};

PlotView view_of(std::string const& name) {
    if (name == "range") return PlotView::kRange;
    return name == "speed" ? PlotView::kSpeed : PlotView::kPlan;
}

/** By the end of the file's name. */
PlotFormat format_of(std::string const& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const size_t point = name.rfind('.');
    const std::string ending = point == std::string::npos ? "" : name.substr(point);
    if (ending == ".svg") return PlotFormat::kSvg;
    if (ending == ".png") return PlotFormat::kPng;
    if (ending == ".pdf") return PlotFormat::kPdf;
    throw Kit::UsageError("-o " + path + ": the name has to end with .svg, .png or .pdf");
}

bool parse_size(std::string const& text, int& width, int& height) {
    char const* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, width);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != 'x') return false;
    const auto second = std::from_chars(first.ptr + 1, end, height);
    return second.ec == std::errc() && second.ptr == end && width >= kLeastSide &&
           height >= kLeastSide && static_cast<long long>(width) * height <= kMostPixels;
}

/** What the picture calls the recording. */
std::string name_of(SourceOptions const& input) {
    const SourceName source = parse_source_name(input.source);
    if (source.kind != SourceName::Kind::kPath) return source.text;
    std::string path = source.path;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path.size() > 1 ? path.substr(path.rfind('/') + 1) : path;
}

void report_skipped(PlotData const& data, DamageReport& report, Messages const& messages) {
    if (data.beyond() > 0) {
        messages.note(Kit::count_text(data.beyond(), "target") +
                      " beyond what the picture is to show");
    }
    if (data.unusable() > 0) {
        report.add_loss(Kit::count_text(data.unusable(), "target") +
                        " skipped: not a number, beyond 1000 km or of a negative range");
    }
}

ExitStatus plot(Options const& options, Console& console) {
    const PlotFormat format = format_of(options.output.path);
    refuse_input_as_output(options.input, options.output);
    OutputFile file(options.output.path, options.output.force);
    const auto input = open_frame_input(options.input);
    ProgressBar bar(ProgressBar::Use::kWherePossible);
    DamageReport report(console.messages, bar);
    PlotData data(view_of(options.view), options.limits);
    report.read_frames(*input, [&](InputFrame const& frame) { data.add(frame); });
    report_skipped(data, report, console.messages);
    const std::string name = name_of(options.input);
    PlotCanvas canvas(format, options.width, options.height,
                      plot_title(data.view(), Kit::valid_utf8(Kit::printable(name))));
    draw_plot(canvas, data, {name, options.trail_s});
    canvas.finish([&](std::string_view bytes) { file.write(bytes); });
    file.finish();
    return report.finish(*input);
}

/** An option whose value is a number above 0. */
void add_number(OptionParser& parser, std::string const& name, std::optional<double>& value,
                std::string const& unit, std::string const& description) {
    const auto take = [&value](std::string const& text) -> std::string {
        const auto number = Kit::positive_number(text);
        if (!number || *number > kLargestNumber) {
            return Kit::quoted(text) + " is not a number above 0 and up to 1000000";
        }
        value = number;
        return "";
    };
    parser.add_value(name, unit, take, description);
}

void add_size(OptionParser& parser, Options& options) {
    const auto take = [&options](std::string const& text) -> std::string {
        if (parse_size(text, options.width, options.height)) return "";
        return Kit::quoted(text) + " is not a size from 240x240 to 2000000 pixels in all";
    };
    parser.add_value("--size", "WxH", take, "Width and height in pixels; without it, 1200x800");
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    add_source_options(parser, options->input);
    add_output_options(parser, options->output, "the picture (.svg, .png or .pdf)");
    parser.add_choice("--view", options->view, {"plan", "range", "speed"},
                      "Show (without it, plan)");
    add_selection_options(parser, options->input.selection);
    add_number(parser, "--trail", options->trail_s, "S",
               "In a plan, show the last S seconds; without it, everything");
    add_number(parser, "--max-range", options->limits.range, "M",
               "Show ranges up to M m; without it, all");
    add_number(parser, "--max-speed", options->limits.speed, "V",
               "Give V m/s the strongest colour; without it, the fastest target");
    add_size(parser, *options);
    return [options](Console& console) { return plot(*options, console); };
}

}  // namespace

Verb plot_verb() {
    return {"plot",
            "Draw a picture of a recording or a live stream",
            {{"plot radar_150525_093007_042.data -o walk.svg",
              "where the targets were, seen from above, coloured by their radial speed"},
             {"plot --view range --start +10s --end +20s log.data -o range.png",
              "the ranges of ten seconds over time"},
             {"plot --view speed --size 1600x600 /tmp -o speed.pdf",
              "the radial speeds of the recordings in /tmp over time"}},
            "Views:\n"
            "  plan          from above, straight ahead upwards, with rings of equal range; the\n"
            "                last frame's targets as circles, those before as dots that fade\n"
            "  range, speed  each target's range or radial speed over time\n"
            "Blue recedes, orange approaches, grey does neither. Of targets in one place a plan\n"
            "shows the newest, a chart the fastest.\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
