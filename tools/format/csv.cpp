#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

#include "kit/encoding/target_reader.h"
#include "tools/format/float_cache.h"
#include "tools/format/formatter.h"

namespace Tools {

namespace {

/** The columns of a detection log. Never change. */
std::vector<FrameField> detection_log_columns() {
    return {FrameField::kFrameIndex, FrameField::kTimestamp, FrameField::kRcs,
            FrameField::kR,          FrameField::kRdot,      FrameField::kTheta,
            FrameField::kOptions,    FrameField::kSnr};
}

/** No value needs more room, comma included. */
constexpr size_t kValueRoom = kFloatTextRoom + 1;
static_assert(kValueRoom > 20, "the largest integer has 20 digits");

char* write_integer(char* into, uint64_t value) {
    return std::to_chars(into, into + kValueRoom, value).ptr;
}

/** An integer that mostly is small. */
char* write_flags(char* into, uint32_t value) {
    if (value >= 10) return write_integer(into, value);
    *into = static_cast<char>('0' + value);
    return into + 1;
}

class CsvFormatter : public FrameFormatter {
public:
    explicit CsvFormatter(std::vector<FrameField> columns)
        : columns_(std::move(columns)),
          first_of_target_(std::find_if(columns_.begin(), columns_.end(), is_of_target)),
          begin_of_row_(columns_.size() * kValueRoom) {}

    void begin(TextBuffer& text) override {
        std::string line;
        for (const FrameField column : columns_) {
            if (!line.empty()) line += ',';
            line += column == FrameField::kTimestamp ? "timestamp_us" : name_of(column);
        }
        text.add(line + "\n");
    }

    void append(InputFrame const& frame, TextBuffer& text) override {
        char* end = begin_of_row_.data();
        for (auto column = columns_.begin(); column != first_of_target_; ++column) {
            end = write_frame_value(end, *column, frame);
            *end++ = ',';
        }
        const auto begin_size = static_cast<size_t>(end - begin_of_row_.data());
        if (first_of_target_ == columns_.end()) {
            end[-1] = '\n';
            text.add({begin_of_row_.data(), begin_size});
            return;
        }
        Kit::TargetReader targets(frame.payload);
        for (std::string_view target; targets.next(target);) {
            append_row(frame, Kit::read_target(target), begin_size, text);
        }
    }

private:
    using Columns = std::vector<FrameField>;

    void append_row(InputFrame const& frame, Kit::TargetValues const& values, size_t begin_size,
                    TextBuffer& text) {
        char* end = text.room(begin_of_row_.size());
        std::memcpy(end, begin_of_row_.data(), begin_size);
        end += begin_size;
        for (auto column = first_of_target_; column != columns_.end(); ++column) {
            end = write_value(end, *column, frame, values);
            *end++ = ',';
        }
        end[-1] = '\n';
        text.keep(end);
    }

    char* write_value(char* into, FrameField column, InputFrame const& frame,
                      Kit::TargetValues const& values) {
        switch (column) {
            case FrameField::kRcs:
                return rcs_.write(into, values.rcs);
            case FrameField::kR:
                return r_.write(into, values.r);
            case FrameField::kRdot:
                return rdot_.write(into, values.rdot);
            case FrameField::kTheta:
                return theta_.write(into, values.theta);
            case FrameField::kOptions:
                return write_flags(into, values.options);
            case FrameField::kSnr:
                return snr_.write(into, values.snr);
            default:
                return write_frame_value(into, column, frame);
        }
    }

    static char* write_frame_value(char* into, FrameField column, InputFrame const& frame) {
        switch (column) {
            case FrameField::kFrameIndex:
                return write_integer(into, frame.number);
            case FrameField::kMagic:
                return write_integer(into, frame.magic);
            default:
                return write_integer(into, frame.timestamp);
        }
    }

    Columns columns_;
    /** Before it, every row of a frame says the same. */
    Columns::const_iterator first_of_target_;
    std::vector<char> begin_of_row_;
    FloatCache rcs_;
    FloatCache r_;
    FloatCache rdot_;
    FloatCache theta_;
    FloatCache snr_;
};

}  // namespace

std::unique_ptr<FrameFormatter> make_csv_formatter(std::vector<FrameField> fields) {
    return std::make_unique<CsvFormatter>(fields.empty() ? detection_log_columns()
                                                         : std::move(fields));
}

}  // namespace Tools
