#include "kit/stream/frame_queue.h"

#include <algorithm>
#include <utility>

namespace Kit {

FrameQueue::FrameQueue(std::size_t limit_) : limit(std::max<std::size_t>(limit_, 1)) {}

void FrameQueue::push(SharedFrame frame, Clock::time_point now) {
    if (frames.empty()) since = now;
    frames.push_back(std::move(frame));
    drop_above_limit();
}

FrameQueue::Turn FrameQueue::begin_turn(std::size_t max_frames) {
    held = std::min(max_frames, frames.size());
    const auto end = frames.begin() + static_cast<std::ptrdiff_t>(held);
    return {std::vector<SharedFrame>(frames.begin(), end), first_taken};
}

void FrameQueue::end_turn(std::size_t bytes, Clock::time_point now) {
    sent_bytes += bytes;
    first_taken += bytes;
    while (!frames.empty() && first_taken >= frames.front()->size()) {
        first_taken -= frames.front()->size();
        frames.pop_front();
        ++sent;
        since = now;
    }
    held = first_taken > 0 ? 1 : 0;
    drop_above_limit();
}

void FrameQueue::drop_above_limit() {
    while (frames.size() - held > limit) {
        frames.erase(frames.begin() + static_cast<std::ptrdiff_t>(held));
        ++dropped;
    }
}

bool FrameQueue::empty() const noexcept {
    return frames.empty();
}

std::size_t FrameQueue::size() const noexcept {
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
