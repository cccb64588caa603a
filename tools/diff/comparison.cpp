#include "tools/diff/comparison.h"

#include <algorithm>

#include "tools/format/printer.h"

namespace Tools {

namespace {

struct FloatField {
    FrameField field;
    float Kit::TargetValues::*value;
};

constexpr FloatField kFloatFields[] = {{FrameField::kRcs, &Kit::TargetValues::rcs},
                                       {FrameField::kR, &Kit::TargetValues::r},
                                       {FrameField::kRdot, &Kit::TargetValues::rdot},
                                       {FrameField::kTheta, &Kit::TargetValues::theta},
                                       {FrameField::kSnr, &Kit::TargetValues::snr}};

/** So many targets are passed over at most, which bounds the time that huge frames take. */
constexpr uint64_t kFarthestMatch = 256;

/** The targets of a frame, one after the other; can be copied, to look ahead. */
class Targets {
public:
    explicit Targets(InputFrame const& frame)
        : reader(frame.payload), left_over(frame.target_count) {
        read();
    }

    bool is_at_end() const { return left_over == 0; }
    uint64_t left() const { return left_over; }
    uint64_t index() const { return position; }
    Kit::TargetValues const& values() const { return current; }

    void advance() {
        ++position;
        --left_over;
        read();
    }

private:
    void read() {
        std::string_view target;
        if (!reader.next(target)) left_over = 0;
        current = Kit::read_target(target);
    }

    Kit::TargetReader reader;
    uint64_t left_over;
    uint64_t position = 0;
    Kit::TargetValues current;
};

/** Two frames under comparison. */
class Comparison {
public:
    Comparison(InputFrame const& frame_a, InputFrame const& frame_b, Tolerances const& tolerances_,
               DifferenceSink& sink_)
        : a(frame_a), b(frame_b), tolerances(tolerances_), sink(sink_) {}

    bool run() {
        while (!a.is_at_end() && !b.is_at_end()) {
            if (a.left() > b.left() && !targets_agree(a, b)) {
                pass_over(a, matching_distance(a, b), [this](auto i) { sink.target_only_in_a(i); });
            } else if (b.left() > a.left() && !targets_agree(a, b)) {
                pass_over(b, matching_distance(b, a), [this](auto i) { sink.target_only_in_b(i); });
            }
            tell_fields();
            a.advance();
            b.advance();
        }
        pass_over(a, a.left(), [this](auto i) { sink.target_only_in_a(i); });
        pass_over(b, b.left(), [this](auto i) { sink.target_only_in_b(i); });
        return equal;
    }

private:
    bool targets_agree(Targets const& left, Targets const& right) const {
        if (left.values().options != right.values().options) return false;
        for (auto const& [field, value] : kFloatFields) {
            if (!floats_agree(left, right, field, value)) return false;
        }
        return true;
    }

    bool floats_agree(Targets const& left, Targets const& right, FrameField field,
                      float Kit::TargetValues::*value) const {
        return agree(left.values().*value, right.values().*value, tolerances.of(field));
    }

    /** How many targets of the longer one to leave out so that the next ones agree; 0: none do. */
    uint64_t matching_distance(Targets longer, Targets const& shorter) const {
        const uint64_t most = std::min(longer.left() - shorter.left(), kFarthestMatch);
        for (uint64_t distance = 1; distance <= most; ++distance) {
            longer.advance();
            if (targets_agree(longer, shorter)) return distance;
        }
        return 0;
    }

    template <typename Tell>
    void pass_over(Targets& targets, uint64_t count, Tell tell) {
        for (; count > 0; --count) {
            equal = false;
            tell(targets.index());
            targets.advance();
        }
    }

    void tell_fields() {
        for (auto const& [field, value] : kFloatFields) {
            if (floats_agree(a, b, field, value)) continue;
            tell(field, exact_text(a.values().*value), exact_text(b.values().*value));
        }
        if (a.values().options != b.values().options) {
            tell(FrameField::kOptions, std::to_string(a.values().options),
                 std::to_string(b.values().options));
        }
    }

    void tell(FrameField field, std::string const& value_a, std::string const& value_b) {
        equal = false;
        sink.field_differs(a.index(), b.index(), field, value_a, value_b);
    }

    Targets a;
    Targets b;
    Tolerances const& tolerances;
    DifferenceSink& sink;
    bool equal = true;
};

}  // namespace

bool compare_frames(InputFrame const& a, InputFrame const& b, Tolerances const& tolerances,
                    DifferenceSink& sink) {
    if (a.payload == b.payload) return true;
    const bool magics_agree = a.magic == b.magic;
    if (!magics_agree) sink.magic_differs(a.magic, b.magic);
    return Comparison(a, b, tolerances, sink).run() && magics_agree;
}

}  // namespace Tools
