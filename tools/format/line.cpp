#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "kit/encoding/target_reader.h"
#include "tools/format/formatter.h"

namespace Tools {

namespace {

class LineFormatter : public FrameFormatter {
public:
    void begin(TextBuffer&) override {}

    void append(InputFrame const& frame, TextBuffer& text) override {
        std::string line = "frame " + std::to_string(frame.number) + "  timestamp " +
                           std::to_string(frame.timestamp) + "  " +
                           std::to_string(frame.target_count) +
                           (frame.target_count == 1 ? " target" : " targets");
        if (frame.target_count > 0) line += extremes(frame.payload);
        text.add(line + "\n");
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
        std::array<char, 128> text;
        std::snprintf(text.data(), text.size(), "  nearest %.2f m  fastest %+.2f m/s",
                      static_cast<double>(nearest), static_cast<double>(fastest));
        return text.data();
    }
};

}  // namespace

std::unique_ptr<FrameFormatter> make_line_formatter() {
    return std::make_unique<LineFormatter>();
}

}  // namespace Tools
