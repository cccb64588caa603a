#include "kit/stream/frame_queue.h"

#include <algorithm>
#include <utility>

namespace Kit {

FrameQueue::FrameQueue(size_t limit_, size_t byte_limit_)
    : limit(std::max<size_t>(limit_, 1)), byte_limit(byte_limit_) {}

void FrameQueue::push(SharedFrame frame, Clock::time_point now) {
    if (frames.empty()) since = now;
    bytes += frame->size();
    frames.push_back(std::move(frame));
    drop_above_limits();
}

FrameQueue::Turn FrameQueue::begin_turn(size_t max_frames) {
    held = std::min(max_frames, frames.size());
    const auto end = frames.begin() + static_cast<std::ptrdiff_t>(held);
    return {std::vector<SharedFrame>(frames.begin(), end), first_taken};
}

void FrameQueue::end_turn(size_t taken, Clock::time_point now) {
    sent_bytes += taken;
    first_taken += taken;
    while (!frames.empty() && first_taken >= frames.front()->size()) {
        first_taken -= frames.front()->size();
        bytes -= frames.front()->size();
        frames.pop_front();
        ++sent;
        since = now;
    }
    held = first_taken > 0 ? 1 : 0;
    drop_above_limits();
}

void FrameQueue::drop_above_limits() {
    while (frames.size() - held > limit) drop(held);
    const size_t outgoing = std::max<size_t>(held, 1);
    while (frames.size() > outgoing + 1 && bytes_behind(outgoing) > byte_limit) drop(outgoing);
}

void FrameQueue::drop(size_t index) {
    const auto frame = frames.begin() + static_cast<std::ptrdiff_t>(index);
    bytes -= (*frame)->size();
    frames.erase(frame);
    ++dropped;
}

size_t FrameQueue::bytes_behind(size_t count) const {
    size_t behind = bytes;
    for (size_t i = 0; i < count; ++i) behind -= frames[i]->size();
    return behind;
}

bool FrameQueue::empty() const noexcept {
    return frames.empty();
}

size_t FrameQueue::size() const noexcept {
    return frames.size();
}

FrameQueue::Clock::time_point FrameQueue::waiting_since() const noexcept {
    return since;
}

uint64_t FrameQueue::frames_sent() const noexcept {
    return sent;
}

uint64_t FrameQueue::bytes_sent() const noexcept {
    return sent_bytes;
}

uint64_t FrameQueue::frames_dropped() const noexcept {
    return dropped;
}

}  // namespace Kit
