#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

#include "kit/encoding/target_reader.h"
#include "tools/format/float_text.h"
#include "tools/format/formatter.h"

namespace Tools {

namespace {

constexpr size_t kValueRoom = 48;  // of a key and its value

char* write(char* into, std::string_view text) {
    std::memcpy(into, text.data(), text.size());
    return into + text.size();
}

/** A key, and the comma before it unless it is the first. */
char* write_key(char* into, FrameField field) {
    if (into[-1] != '{') *into++ = ',';
    *into++ = '"';
    into = write(into, name_of(field));
    return write(into, "\":");
}

/** 64-bit integers are strings, since not every reader has numbers of that size. */
char* write_long(char* into, uint64_t value) {
    *into++ = '"';
    into = std::to_chars(into, into + 20, value).ptr;
    *into++ = '"';
    return into;
}

/** As protobuf has it: what is no number is a word. */
char* write_number(char* into, float value) {
    if (std::isfinite(value)) return write_float(into, value);
    if (std::isnan(value)) return write(into, "\"NaN\"");
    return write(into, value < 0 ? "\"-Infinity\"" : "\"Infinity\"");
}

char* write_value(char* into, FrameField field, Kit::TargetValues const& values) {
    switch (field) {
        case FrameField::kRcs:
            return write_number(into, values.rcs);
        case FrameField::kR:
            return write_number(into, values.r);
        case FrameField::kRdot:
            return write_number(into, values.rdot);
        case FrameField::kTheta:
            return write_number(into, values.theta);
        case FrameField::kSnr:
            return write_number(into, values.snr);
        default:
            return std::to_chars(into, into + 10, values.options).ptr;
    }
}

class NdjsonFormatter : public FrameFormatter {
public:
    explicit NdjsonFormatter(std::vector<FrameField> const& fields) {
        for (const FrameField field : fields) {
            (is_of_target(field) ? of_target_ : of_frame_).push_back(field);
        }
        std::sort(of_frame_.begin(), of_frame_.end());
        std::sort(of_target_.begin(), of_target_.end());
    }

    void begin(TextBuffer&) override {}

    void append(InputFrame const& frame, TextBuffer& text) override {
        char* end = write(text.room(kValueRoom * (of_frame_.size() + 2)), "{");
        for (const FrameField field : of_frame_) end = write_frame_field(end, field, frame);
        if (!of_target_.empty())
            end = write(end, end[-1] == '{' ? "\"targets\":[" : ",\"targets\":[");
        text.keep(end);
        if (!of_target_.empty()) append_targets(frame, text);
        text.add("}\n");
    }

private:
    static char* write_frame_field(char* into, FrameField field, InputFrame const& frame) {
        into = write_key(into, field);
        if (field == FrameField::kMagic) return std::to_chars(into, into + 10, frame.magic).ptr;
        return write_long(into, field == FrameField::kFrameIndex ? frame.number : frame.timestamp);
    }

    void append_targets(InputFrame const& frame, TextBuffer& text) const {
        Kit::TargetReader targets(frame.payload);
        std::string_view target;
        for (bool first = true; targets.next(target); first = false) {
            const Kit::TargetValues values = Kit::read_target(target);
            char* end = write(text.room(kValueRoom * (of_target_.size() + 1)), first ? "{" : ",{");
            for (const FrameField field : of_target_) {
                end = write_value(write_key(end, field), field, values);
            }
            text.keep(write(end, "}"));
        }
        text.add("]");
    }

    std::vector<FrameField> of_frame_;
    std::vector<FrameField> of_target_;
};

}  // namespace

std::unique_ptr<FrameFormatter> make_ndjson_formatter(std::vector<FrameField> const& fields) {
    if (!fields.empty()) return std::make_unique<NdjsonFormatter>(fields);
    return std::make_unique<NdjsonFormatter>(std::vector<FrameField>{
        FrameField::kMagic, FrameField::kTimestamp, FrameField::kRcs, FrameField::kR,
        FrameField::kRdot, FrameField::kTheta, FrameField::kOptions, FrameField::kSnr});
}

}  // namespace Tools
