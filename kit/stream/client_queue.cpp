#include "kit/stream/client_queue.h"

#include <algorithm>
#include <utility>

namespace Kit {

ClientQueue::ClientQueue(size_t limit, size_t byte_limit)
    : limit_(std::max<size_t>(limit, 1)), byte_limit_(byte_limit) {}

void ClientQueue::push(SharedFrame frame, Clock::time_point now) {
    if (frames_.empty()) since_ = now;
    bytes_ += frame->size();
    frames_.push_back(std::move(frame));
    ++frames_pushed_;
    drop_above_limits();
}

ClientQueue::Turn ClientQueue::begin_turn(size_t max_frames) {
    held_ = std::min(max_frames, frames_.size());
    const auto end = frames_.begin() + static_cast<std::ptrdiff_t>(held_);
    return {std::vector<SharedFrame>(frames_.begin(), end), first_sent_};
}

void ClientQueue::end_turn(size_t sent, Clock::time_point now) {
    bytes_sent_ += sent;
    first_sent_ += sent;
    while (!frames_.empty() && first_sent_ >= frames_.front()->size()) {
        first_sent_ -= frames_.front()->size();
        bytes_ -= frames_.front()->size();
        frames_.pop_front();
        ++frames_sent_;
        since_ = now;
    }
    held_ = first_sent_ > 0 ? 1 : 0;
    drop_above_limits();
}

void ClientQueue::drop_above_limits() {
    while (frames_.size() - held_ > limit_) drop(held_);
    const size_t outgoing = std::max<size_t>(held_, 1);
    while (frames_.size() > outgoing + 1 && bytes_after(outgoing) > byte_limit_) drop(outgoing);
}

void ClientQueue::drop(size_t index) {
    const auto frame = frames_.begin() + static_cast<std::ptrdiff_t>(index);
    bytes_ -= (*frame)->size();
    frames_.erase(frame);
    ++dropped_;
}

size_t ClientQueue::bytes_after(size_t count) const {
    size_t after = bytes_;
    for (size_t i = 0; i < count; ++i) after -= frames_[i]->size();
    return after;
}

bool ClientQueue::empty() const noexcept {
    return frames_.empty();
}

size_t ClientQueue::size() const noexcept {
    return frames_.size();
}

ClientQueue::Clock::time_point ClientQueue::waiting_since() const noexcept {
    return since_;
}

uint64_t ClientQueue::frames_pushed() const noexcept {
    return frames_pushed_;
}

uint64_t ClientQueue::frames_sent() const noexcept {
    return frames_sent_;
}

uint64_t ClientQueue::bytes_sent() const noexcept {
    return bytes_sent_;
}

uint64_t ClientQueue::frames_dropped() const noexcept {
    return dropped_;
}

}  // namespace Kit
