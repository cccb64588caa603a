#include "kit/frames/detection_log.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <type_traits>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/encoding/frame_magic.h"
#include "kit/recording/format.h"

namespace Kit {

namespace {

/** The begin of `text`, quoted. */
std::string excerpt(std::string_view text) {
    constexpr size_t kLongest = 40;
    if (text.size() <= kLongest) return quoted(valid_utf8(text));
    return quoted(valid_utf8(text.substr(0, kLongest)) + "...");
}

/** A number too small for a float is the nearest float, as everywhere else; one too large is not.
 */
std::errc parse_tiny(std::string_view text, float& number) {
    double wide = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), wide);
    if (result.ec == std::errc() && std::fabs(wide) > 1) return std::errc::result_out_of_range;
    number = static_cast<float>(wide);
    return result.ec;
}

std::string change(uint64_t from, uint64_t to) {
    return fmt::format(" from {} to {}", from, to);
}

}  // namespace

std::string_view DetectionLog::name_of(Column column) {
    static constexpr std::array<std::string_view, kColumns> kNames = {
        "frame_index", "timestamp_us", "rcs", "r", "rdot", "theta", "options", "snr"};
    return kNames[column];
}

DetectionLog::DetectionLog(std::string const& path)
    : DetectionLog(std::make_unique<BlockReader>(path)) {}

DetectionLog::DetectionLog(std::unique_ptr<BlockReader> input) : input_(std::move(input)) {
    read_header();
}

void DetectionLog::rewind() {
    input_->rewind();
    line_number_ = 0;
    columns_.clear();
    has_row_ = false;
    read_header();
}

bool DetectionLog::next(RO::RadarObjects& frame) {
    if (!has_row_ && !read_row()) return false;
    const uint64_t frame_index = row_.frame_index;
    const uint64_t timestamp = row_.timestamp;
    frame.set_magic(kFrameMagic);
    frame.set_timestamp(timestamp);
    frame.clear_targets();
    do {
        if (frame.targets_size() == kMaxTargets) fail(0, "more targets in a frame than 65536");
        frame.add_targets()->CopyFrom(row_.target);
        has_row_ = read_row();
        if (has_row_) check_order(frame_index, timestamp);
    } while (has_row_ && row_.frame_index == frame_index);
    return true;
}

void DetectionLog::read_header() {
    std::string_view line;
    if (!read_line(line)) throw InputError(input_->name() + ": empty, not a detection log");
    for (size_t begin = 0; begin <= line.size();) {
        const size_t end = std::min(line.find(',', begin), line.size());
        add_column(line.substr(begin, end - begin), begin);
        begin = end + 1;
    }
    for (int i = 0; i < kColumns; ++i) {
        const auto column = static_cast<Column>(i);
        if (std::find(columns_.begin(), columns_.end(), column) == columns_.end()) {
            fail(line.size(), "column " + std::string(name_of(column)) + " is missing");
        }
    }
}

void DetectionLog::add_column(std::string_view name, size_t begin) {
    int i = 0;
    while (i < kColumns && name_of(static_cast<Column>(i)) != name) ++i;
    if (i == kColumns && begin == 0) {
        fail(begin, "not a header line, which begins with a column's name: " + excerpt(name));
    }
    if (i == kColumns) fail(begin, "unknown column " + excerpt(name));
    const auto column = static_cast<Column>(i);
    if (std::find(columns_.begin(), columns_.end(), column) != columns_.end()) {
        fail(begin, "column " + std::string(name) + " stands there twice");
    }
    columns_.push_back(column);
}

/** Reads a line as soon as its end has come, also from a pipe that then has no more for a while. */
bool DetectionLog::read_line(std::string_view& line) {
    std::string_view window = input_->window(1);
    size_t end = window.find('\n');
    while (end == std::string_view::npos && window.size() <= kMaxLine) {
        const size_t searched = window.size();
        window = input_->window(searched + 1);
        if (window.size() == searched) break;
        end = window.find('\n', searched);
    }
    if (window.empty()) return false;
    ++line_number_;
    line = window.substr(0, end);
    if (line.size() > kMaxLine) fail(kMaxLine, "line longer than 4096 bytes");
    input_->advance(end == std::string_view::npos ? line.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return true;
}

bool DetectionLog::read_row() {
    std::string_view line;
    if (!read_line(line)) return false;
    size_t begin = 0;
    for (const Column column : columns_) {
        if (begin > line.size()) {
            fail(line.size(), std::string(name_of(column)) + " has no value");
        }
        const size_t end = std::min(line.find(',', begin), line.size());
        row_.begins[column] = begin;
        read_value(column, line.substr(begin, end - begin));
        begin = end + 1;
    }
    if (begin <= line.size()) fail(begin, "more values than columns");
    return true;
}

void DetectionLog::read_value(Column column, std::string_view text) {
    switch (column) {
        case kFrameIndex:
            row_.frame_index = parse<uint64_t>(column, text);
            break;
        case kTimestamp:
            row_.timestamp = parse<uint64_t>(column, text);
            break;
        case kRcs:
            row_.target.set_rcs(parse<float>(column, text));
            break;
        case kR:
            row_.target.set_r(parse<float>(column, text));
            break;
        case kRdot:
            row_.target.set_rdot(parse<float>(column, text));
            break;
        case kTheta:
            row_.target.set_theta(parse<float>(column, text));
            break;
        case kOptions:
            row_.target.set_options(parse<uint32_t>(column, text));
            break;
        case kSnr:
            row_.target.set_snr(parse<float>(column, text));
            break;
        case kColumns:
            break;
    }
}

/** Checks the row that was read last against the frame that the row before belongs to. */
void DetectionLog::check_order(uint64_t frame_index, uint64_t timestamp) const {
    const bool same_frame = row_.frame_index == frame_index;
    if (row_.frame_index < frame_index) {
        fail(row_.begins[kFrameIndex],
             "frame_index goes back" + change(frame_index, row_.frame_index));
    }
    if (same_frame && row_.timestamp != timestamp) {
        fail(row_.begins[kTimestamp],
             "timestamp_us changes within a frame" + change(timestamp, row_.timestamp));
    }
    if (!same_frame && row_.timestamp <= timestamp) {
        fail(row_.begins[kTimestamp],
             "timestamp_us does not grow" + change(timestamp, row_.timestamp));
    }
}

template <typename Number>
Number DetectionLog::parse(Column column, std::string_view text) const {
    Number number = {};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
        const std::string problem =
            text.empty() ? " has no value" : " is not a number: " + excerpt(text);
        fail(row_.begins[column], std::string(name_of(column)) + problem);
    }
    if constexpr (std::is_floating_point_v<Number>) {
        if (error == std::errc::result_out_of_range) error = parse_tiny(text, number);
        if (!std::isfinite(number)) error = std::errc::result_out_of_range;
    }
    if (error != std::errc()) {
        fail(row_.begins[column],
             std::string(name_of(column)) + " is out of range: " + excerpt(text));
    }
    return number;
}

void DetectionLog::fail(size_t begin, std::string const& reason) const {
    throw InputError(fmt::format("{}:{}:{}: {}", input_->name(), line_number_, begin + 1, reason));
}

}  // namespace Kit
