#include "tools/frame_printer.h"

#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace Tools {

namespace {

/** The columns of a detection log. Never change. */
constexpr char kCsvHeader[] = "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n";

template <typename... Values>
std::string formatted(char const* format, Values... values) {
    std::array<char, 128> text;
    const int size = std::snprintf(text.data(), text.size(), format, values...);
    return std::string(text.data(), std::min(static_cast<std::size_t>(size), text.size() - 1));
}

}  // namespace

std::vector<std::string> frame_format_names() {
    return {"lines", "text", "ndjson", "csv"};
}

FrameFormat frame_format(std::string const& name) {
    if (name == "text") return FrameFormat::kText;
    if (name == "ndjson") return FrameFormat::kNdjson;
    return name == "csv" ? FrameFormat::kCsv : FrameFormat::kLines;
}

std::string exact_text(float value) {
    std::array<char, 32> text;
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), result.ptr);
}

FramePrinter::FramePrinter(FrameFormat format_, Output& out_) : format(format_), out(out_) {}

void FramePrinter::begin() {
    if (!begun && format == FrameFormat::kCsv) out.write(kCsvHeader);
    begun = true;
}

void FramePrinter::print(RO::RadarObjects const& frame) {
    begin();
    switch (format) {
        case FrameFormat::kLines:
            print_line(frame);
            break;
        case FrameFormat::kText:
            // A blank line between frames, since nothing in the text says where one ends.
            out.write((index > 0 ? "\n" : "") + frame.DebugString());
            break;
        case FrameFormat::kNdjson:
            print_json(frame);
            break;
        case FrameFormat::kCsv:
            print_rows(frame);
            break;
    }
    ++index;
}

void FramePrinter::print_line(RO::RadarObjects const& frame) {
    std::string line = "frame " + std::to_string(index) + "  timestamp " +
                       std::to_string(frame.timestamp()) + "  " +
                       std::to_string(frame.targets_size()) +
                       (frame.targets_size() == 1 ? " target" : " targets");
    auto const& targets = frame.targets();
    if (!targets.empty()) {
        const auto nearest = std::min_element(
            targets.begin(), targets.end(),
            [](auto const& left, auto const& right) { return left.r() < right.r(); });
        const auto fastest = std::max_element(
            targets.begin(), targets.end(), [](auto const& left, auto const& right) {
                return std::abs(left.rdot()) < std::abs(right.rdot());
            });
        line += formatted("  nearest %.2f m  fastest %+.2f m/s", static_cast<double>(nearest->r()),
                          static_cast<double>(fastest->rdot()));
    }
    out.write(line + "\n");
}

void FramePrinter::print_json(RO::RadarObjects const& frame) {
    google::protobuf::util::JsonPrintOptions options;
    options.always_print_primitive_fields = true;
    options.preserve_proto_field_names = true;
    std::string line;
    if (!google::protobuf::util::MessageToJsonString(frame, &line, options).ok()) {
        throw std::runtime_error("a frame has no JSON form");
    }
    out.write(line + "\n");
}

void FramePrinter::print_rows(RO::RadarObjects const& frame) {
    const std::string begin_of_row =
        std::to_string(index) + "," + std::to_string(frame.timestamp()) + ",";
    for (RO::TargetData const& target : frame.targets()) {
        out.write(begin_of_row + exact_text(target.rcs()) + "," + exact_text(target.r()) + "," +
                  exact_text(target.rdot()) + "," + exact_text(target.theta()) + "," +
                  std::to_string(target.options()) + "," + exact_text(target.snr()) + "\n");
    }
}

}  // namespace Tools
