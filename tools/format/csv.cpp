#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

#include "kit/encoding/target_reader.h"
#include "tools/format/float_cache.h"
#include "tools/format/form.h"

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

class CsvForm : public FrameForm {
public:
    explicit CsvForm(std::vector<FrameField> columns_)
        : columns(std::move(columns_)),
          first_of_target(std::find_if(columns.begin(), columns.end(), is_of_target)),
          begin_of_row(columns.size() * kValueRoom) {}

    void begin(TextBuffer& text) override {
        std::string line;
        for (const FrameField column : columns) {
            if (!line.empty()) line += ',';
            line += column == FrameField::kTimestamp ? "timestamp_us" : name_of(column);
        }
        text.add(line + "\n");
    }

    void append(InputFrame const& frame, TextBuffer& text) override {
        char* end = begin_of_row.data();
        for (auto column = columns.begin(); column != first_of_target; ++column) {
            end = write_frame_value(end, *column, frame);
            *end++ = ',';
        }
        const auto begin_size = static_cast<size_t>(end - begin_of_row.data());
        if (first_of_target == columns.end()) {
            end[-1] = '\n';
            text.add({begin_of_row.data(), begin_size});
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
        char* end = text.room(begin_of_row.size());
        std::memcpy(end, begin_of_row.data(), begin_size);
        end += begin_size;
        for (auto column = first_of_target; column != columns.end(); ++column) {
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
                return rcs.write(into, values.rcs);
            case FrameField::kR:
                return r.write(into, values.r);
            case FrameField::kRdot:
                return rdot.write(into, values.rdot);
            case FrameField::kTheta:
                return theta.write(into, values.theta);
            case FrameField::kOptions:
                return write_flags(into, values.options);
            case FrameField::kSnr:
                return snr.write(into, values.snr);
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

    Columns columns;
    /** Before it, every row of a frame says the same. */
    Columns::const_iterator first_of_target;
    std::vector<char> begin_of_row;
    FloatCache rcs;
    FloatCache r;
    FloatCache rdot;
    FloatCache theta;
    FloatCache snr;
};

}  // namespace

std::unique_ptr<FrameForm> make_csv_form(std::vector<FrameField> fields) {
    return std::make_unique<CsvForm>(fields.empty() ? detection_log_columns() : std::move(fields));
}

}  // namespace Tools
