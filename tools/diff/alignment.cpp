#include "tools/diff/alignment.h"

#include <optional>

namespace Tools {

void FrameQueue::advance() {
    if (held.empty()) {
        read();
    } else {
        held.pop_front();
    }
}

void FrameQueue::read() {
    at_frame = false;
    while (!at_frame && report.next(input)) {
        if (input.item() == FrameInput::Item::kHeader && on_header) on_header(input.header());
        at_frame = input.item() == FrameInput::Item::kFrame;
    }
}

InputFrame FrameQueue::front() const {
    if (held.empty()) return input.frame();
    InputFrame frame = held.front().frame;
    frame.payload = held.front().payload;
    return frame;
}

std::vector<uint64_t> const& FrameQueue::look_ahead() {
    while (at_frame && held.size() < kMostHeld && input.frame().payload.size() <= kLargestHeld) {
        held.push_back({input.frame(), std::string(input.frame().payload)});
        read();
    }
    times.clear();
    for (Held const& each : held) times.push_back(each.frame.timestamp);
    if (at_frame) times.push_back(input.frame().timestamp);
    return times;
}

FrameAlignment::Step FrameAlignment::next() {
    if (a.is_at_end() && b.is_at_end()) return Step::kEnd;
    if (b.is_at_end()) return Step::kOnlyA;
    if (a.is_at_end()) return Step::kOnlyB;
    const bool match = tolerances.timestamps_agree(a.front().timestamp, b.front().timestamp);
    return match ? Step::kBoth : step_towards_match();
}

FrameAlignment::Step FrameAlignment::step_towards_match() {
    auto const& times_a = a.look_ahead();
    auto const& times_b = b.look_ahead();
    // The nearest match is the one before which the fewest frames are alone.
    for (size_t distance = 1; distance < times_a.size() + times_b.size(); ++distance) {
        for (size_t i = 0; i <= distance && i < times_a.size(); ++i) {
            const size_t j = distance - i;
            if (j >= times_b.size()) continue;
            if (!tolerances.timestamps_agree(times_a[i], times_b[j])) continue;
            if (i == 0) return Step::kOnlyB;
            if (j == 0) return Step::kOnlyA;
            return times_a[0] <= times_b[0] ? Step::kOnlyA : Step::kOnlyB;
        }
    }
    return times_a[0] < times_b[0] ? Step::kOnlyA : Step::kOnlyB;
}

}  // namespace Tools
