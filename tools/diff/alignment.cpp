#include "tools/diff/alignment.h"

namespace Tools {

void FrameLookAhead::advance() {
    if (held_.empty()) {
        read();
    } else {
        held_.pop_front();
    }
}

void FrameLookAhead::read() {
    at_frame_ = false;
    while (!at_frame_ && report_.next(input_, *this)) {
    }
}

void FrameLookAhead::on_file(Kit::RecordingFile const&, FileState) {}

void FrameLookAhead::on_header(Kit::RecordingHeader const& header) {
    if (!header_) header_ = header;
}

void FrameLookAhead::on_frame(InputFrame const& frame) {
    frame_ = frame;
    at_frame_ = true;
}

void FrameLookAhead::on_finding(Kit::Finding const&) {}

void FrameLookAhead::on_note(std::string const&) {}

InputFrame FrameLookAhead::front() const {
    if (held_.empty()) return frame_;
    InputFrame frame = held_.front().frame;
    frame.payload = held_.front().payload;
    return frame;
}

std::vector<uint64_t> const& FrameLookAhead::look_ahead() {
    while (at_frame_ && held_.size() < kMostHeld && frame_.payload.size() <= kLargestHeld) {
        held_.push_back({frame_, std::string(frame_.payload)});
        read();
    }
    times_.clear();
    for (Held const& each : held_) times_.push_back(each.frame.timestamp);
    if (at_frame_) times_.push_back(frame_.timestamp);
    return times_;
}

FrameAlignment::Step FrameAlignment::next() {
    if (a_.is_at_end() && b_.is_at_end()) return Step::kEnd;
    if (b_.is_at_end()) return Step::kOnlyA;
    if (a_.is_at_end()) return Step::kOnlyB;
    const bool match = tolerances_.timestamps_agree(a_.front().timestamp, b_.front().timestamp);
    return match ? Step::kBoth : step_towards_match();
}

FrameAlignment::Step FrameAlignment::step_towards_match() {
    auto const& times_a = a_.look_ahead();
    auto const& times_b = b_.look_ahead();
    // The nearest match is the one before which the fewest frames are alone.
    for (size_t distance = 1; distance < times_a.size() + times_b.size(); ++distance) {
        for (size_t i = 0; i <= distance && i < times_a.size(); ++i) {
            const size_t j = distance - i;
            if (j >= times_b.size()) continue;
            if (!tolerances_.timestamps_agree(times_a[i], times_b[j])) continue;
            if (i == 0) return Step::kOnlyB;
            if (j == 0) return Step::kOnlyA;
            return times_a[0] <= times_b[0] ? Step::kOnlyA : Step::kOnlyB;
        }
    }
    return times_a[0] < times_b[0] ? Step::kOnlyA : Step::kOnlyB;
}

}  // namespace Tools
