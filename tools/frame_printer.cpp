#include "tools/frame_printer.h"

#include <array>
#include <utility>

#include "tools/float_text.h"

namespace Tools {

namespace {

std::unique_ptr<FrameForm> make_form(FrameFormat format, std::vector<FrameField> const& fields) {
    switch (format) {
        case FrameFormat::kText:
            return make_text_form(fields);
        case FrameFormat::kNdjson:
            return make_ndjson_form(fields);
        case FrameFormat::kCsv:
            return make_csv_form(fields);
        case FrameFormat::kLines:
            break;
    }
    return make_line_form();
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
    : form(make_form(format, fields)), text(out) {}

void FramePrinter::begin() {
    if (std::exchange(begun, true)) return;
    form->begin(text);
    text.hand_over();
}

void FramePrinter::print(InputFrame const& frame) {
    begin();
    form->append(frame, text);
}

void FramePrinter::print(RO::RadarObjects const& frame) {
    const std::string payload = frame.SerializeAsString();
    InputFrame input;
    input.number = index++;
    input.magic = frame.magic();
    input.timestamp = frame.timestamp();
    input.target_count = static_cast<std::uint32_t>(frame.targets_size());
    input.payload = payload;
    print(input);
    hand_over();
}

}  // namespace Tools
