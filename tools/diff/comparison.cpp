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
        : reader_(frame.payload), left_over_(frame.target_count) {
        read();
    }

    bool is_at_end() const { return left_over_ == 0; }
    uint64_t left() const { return left_over_; }
    uint64_t index() const { return position_; }
    Kit::TargetValues const& values() const { return current_; }

    void advance() {
        ++position_;
        --left_over_;
        read();
    }

private:
    void read() {
        std::string_view target;
        if (!reader_.next(target)) left_over_ = 0;
        current_ = Kit::read_target(target);
    }

    Kit::TargetReader reader_;
    uint64_t left_over_;
    uint64_t position_ = 0;
    Kit::TargetValues current_;
};

/** Two frames under comparison. */
class Comparison {
public:
    Comparison(InputFrame const& frame_a, InputFrame const& frame_b, Tolerances const& tolerances,
               DifferenceSink& sink)
        : a_(frame_a), b_(frame_b), tolerances_(tolerances), sink_(sink) {}

    bool run() {
        while (!a_.is_at_end() && !b_.is_at_end()) {
            if (a_.left() > b_.left() && !targets_agree(a_, b_)) {
                pass_over(a_, matching_distance(a_, b_),
                          [this](auto i) { sink_.target_only_in_a(i); });
            } else if (b_.left() > a_.left() && !targets_agree(a_, b_)) {
                pass_over(b_, matching_distance(b_, a_),
                          [this](auto i) { sink_.target_only_in_b(i); });
            }
            tell_fields();
            a_.advance();
            b_.advance();
        }
        pass_over(a_, a_.left(), [this](auto i) { sink_.target_only_in_a(i); });
        pass_over(b_, b_.left(), [this](auto i) { sink_.target_only_in_b(i); });
        return equal_;
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
        return agree(left.values().*value, right.values().*value, tolerances_.of(field));
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

    template <typename Report>
    void pass_over(Targets& targets, uint64_t count, Report report) {
        for (; count > 0; --count) {
            equal_ = false;
            report(targets.index());
            targets.advance();
        }
    }

    void tell_fields() {
        for (auto const& [field, value] : kFloatFields) {
            if (floats_agree(a_, b_, field, value)) continue;
            report(field, exact_text(a_.values().*value), exact_text(b_.values().*value));
        }
        if (a_.values().options != b_.values().options) {
            report(FrameField::kOptions, std::to_string(a_.values().options),
                   std::to_string(b_.values().options));
        }
    }

    void report(FrameField field, std::string const& value_a, std::string const& value_b) {
        equal_ = false;
        sink_.field_differs(a_.index(), b_.index(), field, value_a, value_b);
    }

    Targets a_;
    Targets b_;
    Tolerances const& tolerances_;
    DifferenceSink& sink_;
    bool equal_ = true;
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
