#include "tools/format/printer.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "tools/format/float_text.h"

namespace Tools {

namespace {

/** One thread reads a recording about as fast as these format its frames. */
constexpr unsigned kMostThreads = 8;

std::unique_ptr<FrameFormatter> make_formatter(FrameFormat format,
                                               std::vector<FrameField> const& fields) {
    switch (format) {
        case FrameFormat::kText:
            return make_text_formatter(fields);
        case FrameFormat::kNdjson:
            return make_ndjson_formatter(fields);
        case FrameFormat::kCsv:
            return make_csv_formatter(fields);
        case FrameFormat::kLines:
            break;
    }
    return make_line_formatter();
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
    std::array<char, kFloatTextRoom> text;
    return std::string(text.data(), write_float(text.data(), value));
}

FramePrinter::FramePrinter(FrameFormat format, Output& out, std::vector<FrameField> const& fields)
    : FramePrinter(
          format, [&out](std::string_view piece) { out.write(piece); }, fields) {}

FramePrinter::FramePrinter(FrameFormat format, TextBuffer::Write write,
                           std::vector<FrameField> const& fields)
    : format_(format),
      fields_(fields),
      write_(std::move(write)),
      formatter_(make_formatter(format_, fields_)),
      text_(write_) {}

void FramePrinter::use_threads() {
    const unsigned threads = std::min(std::thread::hardware_concurrency(), kMostThreads);
    // Debug texts depend on the frame before.
    if (threads < 2 || format_ == FrameFormat::kText) return;
    workers_ = std::make_unique<FormatWorkers>(
        threads, [this] { return make_formatter(format_, fields_); }, write_);
    if (!workers_->has_threads()) workers_.reset();
}

void FramePrinter::begin() {
    if (std::exchange(begun_, true)) return;
    formatter_->begin(text_);
    text_.hand_over();
}

void FramePrinter::print(InputFrame const& frame) {
    begin();
    if (workers_ && FormatWorkers::takes(frame.payload.size())) return workers_->append(frame);
    if (workers_) workers_->finish();
    formatter_->append(frame, text_);
    if (workers_) text_.hand_over();
}

void FramePrinter::hand_over() {
    if (workers_) workers_->finish();
    text_.hand_over();
}

void FramePrinter::print(RO::RadarObjects const& frame) {
    const std::string payload = frame.SerializeAsString();
    InputFrame input;
    input.number = index_++;
    input.magic = frame.magic();
    input.timestamp = frame.timestamp();
    input.target_count = static_cast<uint32_t>(frame.targets_size());
    input.payload = payload;
    print(input);
    hand_over();
}

}  // namespace Tools
