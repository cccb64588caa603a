#include "tools/listen/target_table.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "kit/base/text.h"
#include "tools/cli/ansi.h"

namespace Tools {

namespace {

/** Slower than this a target stands still, in m/s. */
constexpr float kStill = 0.05F;

/** The bearing scale shows this much to either side, in rad. */
constexpr float kWidestBearing = 1.5708F;
constexpr int kScaleMin = 11;
constexpr int kScaleMax = 41;

constexpr double kDegreesPerRadian = 57.29577951308232;

/** A number of `width` characters at least, with as many decimals as fit a table. */
std::string number(double value, int width, int decimals) {
    if (std::isfinite(value) && std::abs(value) >= 1e6)
        return fmt::format("{:{}.1e}", value, width);
    return fmt::format("{:{}.{}f}", value, width, decimals);
}

char const* motion(float rdot) {
    if (rdot <= -kStill) return "approaching";
    if (rdot >= kStill) return "receding";
    return "";
}

std::string bytes_text(uint64_t bytes) {
    constexpr std::array<char const*, 5> kUnits = {"B", "kB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    for (; value >= 1000.0 && unit + 1 < kUnits.size(); ++unit) value /= 1000.0;
    return fmt::format("{:.{}f} {}", value, unit == 0 ? 0 : 1, kUnits[unit]);
}

/** The columns of the table from the left; as many are shown as fit. */
struct Column {
    char const* title;
    int width;
    std::string (*text)(RO::TargetData const& target);
};

constexpr int kGap = 2;

const std::array<Column, 6> kColumns = {{
    {"range m", 8, [](auto const& target) { return number(target.r(), 8, 2); }},
    {"speed m/s", 9, [](auto const& target) { return number(target.rdot(), 9, 2); }},
    {"bearing deg", 11,
     [](auto const& target) {
         return number(static_cast<double>(target.theta()) * kDegreesPerRadian, 11, 1);
     }},
    {"rcs dB", 7, [](auto const& target) { return number(target.rcs(), 7, 1); }},
    {"snr dB", 7, [](auto const& target) { return number(target.snr(), 7, 1); }},
    {"motion", 11, [](auto const& target) { return fmt::format("{:<11}", motion(target.rdot())); }},
}};

/** Lines that fit a window, with colours where they are wanted. */
class Picture {
public:
    Picture(WindowSize window, bool coloured) : window_(window), coloured_(coloured) {
        int width = 0;
        for (Column const& column : kColumns) {
            width += (columns_ > 0 ? kGap : 0) + column.width;
            if (width > window_.columns) break;
            ++columns_;
            table_width_ = width;
        }
        const int left = window_.columns - table_width_ - kGap;
        if (columns_ == kColumns.size() && left >= kScaleMin) {
            scale_width_ = std::min(left, kScaleMax) - (std::min(left, kScaleMax) + 1) % 2;
        }
    }

    void add(std::string const& colour, std::string text) {
        if (static_cast<int>(lines.size()) >= window_.rows) return;
        text.resize(std::min(text.size(), static_cast<size_t>(window_.columns)));
        lines.push_back(coloured_ ? Ansi::styled(colour, text) : text);
    }

    void add_titles() {
        std::string text;
        for (size_t i = 0; i < columns_; ++i) {
            if (i > 0) text.append(kGap, ' ');
            const bool is_last = i + 1 == kColumns.size();
            text += is_last ? fmt::format("{:<{}}", kColumns[i].title, kColumns[i].width)
                            : fmt::format("{:>{}}", kColumns[i].title, kColumns[i].width);
        }
        if (scale_width_ > 0) text += std::string(kGap, ' ') + scale_title();
        add(Ansi::kDim, text);
    }

    void add_target(RO::TargetData const& target) {
        std::string text;
        for (size_t i = 0; i < columns_; ++i) {
            if (i > 0) text.append(kGap, ' ');
            text += kColumns[i].text(target);
        }
        if (scale_width_ > 0) text += std::string(kGap, ' ') + scale(target.theta());
        add(target.rdot() <= -kStill  ? Ansi::kRed
            : target.rdot() >= kStill ? Ansi::kCyan
                                      : "",
            text);
    }

    int rows_left() const { return window_.rows - static_cast<int>(lines.size()); }

    std::vector<std::string> lines;

private:
    std::string scale_title() const {
        std::string text(static_cast<size_t>(scale_width_), ' ');
        text.replace(0, 4, "left");
        text.replace(text.size() - 5, 5, "right");
        return text;
    }

    /** Where a target is from left to right, seen from the radar. */
    std::string scale(float theta) const {
        std::string text(static_cast<size_t>(scale_width_), '.');
        const int middle = scale_width_ / 2;
        text[static_cast<size_t>(middle)] = '|';
        if (std::isnan(theta)) return text;
        const float part = std::clamp(theta / kWidestBearing, -1.0F, 1.0F);
        const auto place = std::lround(part * static_cast<float>(middle)) + middle;
        text[static_cast<size_t>(place)] = 'O';
        return text;
    }

    WindowSize window_;
    bool coloured_;
    size_t columns_ = 0;
    int table_width_ = 0;
    int scale_width_ = 0;
};

/** By range, nearest first; ranges that are no number come last. */
std::vector<RO::TargetData const*> by_range(RO::RadarObjects const& frame) {
    std::vector<RO::TargetData const*> targets;
    for (RO::TargetData const& target : frame.targets()) targets.push_back(&target);
    std::stable_sort(targets.begin(), targets.end(), [](auto const* left, auto const* right) {
        if (std::isnan(left->r()) || std::isnan(right->r())) return !std::isnan(left->r());
        return left->r() < right->r();
    });
    return targets;
}

void add_status(Picture& picture, LiveStatus const& status, RO::RadarObjects const& frame) {
    picture.add(status.is_well ? Ansi::kGreen : Ansi::kYellow, status.source + "  " + status.state);
    picture.add(
        Ansi::kBold,
        fmt::format("frame {}  {:.1f}/s  {}  {}  {} lost  {}", status.frames, status.frame_rate,
                    Kit::count_text(static_cast<uint64_t>(frame.targets_size()), "target"),
                    bytes_text(status.bytes), status.lost_frames,
                    Kit::count_text(status.reconnects, "reconnect")));
}

}  // namespace

std::vector<std::string> draw_target_table(LiveStatus const& status, RO::RadarObjects const& frame,
                                           WindowSize window, bool coloured) {
    Picture picture(window, coloured);
    add_status(picture, status, frame);
    picture.add("", "");
    picture.add_titles();
    const auto targets = by_range(frame);
    for (size_t i = 0; i < targets.size(); ++i) {
        if (picture.rows_left() == 1 && i + 1 < targets.size()) {
            picture.add(Ansi::kDim, "  " + Kit::count_text(targets.size() - i, "more target"));
            break;
        }
        picture.add_target(*targets[i]);
    }
    return std::move(picture.lines);
}

}  // namespace Tools
