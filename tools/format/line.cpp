#include <fmt/core.h>

#include <cmath>
#include <limits>
#include <string>

#include "kit/base/text.h"
#include "kit/encoding/target_reader.h"
#include "tools/format/formatter.h"

namespace Tools {

namespace {

class LineFormatter : public FrameFormatter {
public:
    void begin(TextBuffer&) override {}

    void append(InputFrame const& frame, TextBuffer& text) override {
        text.add(fmt::format("frame {}  timestamp {}  {}{}\n", frame.number, frame.timestamp,
                             Kit::count_text(frame.target_count, "target"),
                             frame.target_count > 0 ? extremes(frame.payload) : ""));
    }

private:
    /** The range of the nearest target, and the speed of the fastest. */
    static std::string extremes(std::string_view payload) {
        float nearest = std::numeric_limits<float>::quiet_NaN();
        float fastest = nearest;
        Kit::TargetReader targets(payload);
        for (std::string_view target; targets.next(target);) {
            const Kit::TargetValues values = Kit::read_target(target);
            if (std::isnan(nearest) || values.r < nearest) nearest = values.r;
            if (std::isnan(fastest) || std::abs(values.rdot) > std::abs(fastest)) {
                fastest = values.rdot;
            }
        }
        return fmt::format("  nearest {:.2f} m  fastest {:+.2f} m/s", nearest, fastest);
    }
};

}  // namespace

std::unique_ptr<FrameFormatter> make_line_formatter() {
    return std::make_unique<LineFormatter>();
}

}  // namespace Tools
