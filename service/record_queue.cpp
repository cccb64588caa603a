#include "service/record_queue.h"

#include <algorithm>
#include <utility>

namespace Service {

RecordQueue::RecordQueue(size_t most_frames, size_t most_bytes)
    : most_frames_(std::max<size_t>(most_frames, 1)), most_bytes_(most_bytes) {}

size_t RecordQueue::push(std::string record) {
    bytes_ += record.size();
    records_.push_back(std::move(record));
    return drop_surplus();
}

std::optional<std::string> RecordQueue::pop() {
    if (records_.empty()) return std::nullopt;
    std::string record = std::move(records_.front());
    records_.pop_front();
    bytes_ -= record.size();
    return record;
}

size_t RecordQueue::restore(std::string record) {
    bytes_ += record.size();
    records_.push_front(std::move(record));
    return drop_surplus();
}

size_t RecordQueue::clear() {
    const size_t count = records_.size();
    records_.clear();
    bytes_ = 0;
    return count;
}

bool RecordQueue::is_filled(double part) const {
    return static_cast<double>(records_.size()) >= part * static_cast<double>(most_frames_) ||
           static_cast<double>(bytes_) >= part * static_cast<double>(most_bytes_);
}

size_t RecordQueue::drop_surplus() {
    size_t dropped = 0;
    while (records_.size() > 1 && (records_.size() > most_frames_ || bytes_ > most_bytes_)) {
        bytes_ -= records_.front().size();
        records_.pop_front();
        ++dropped;
    }
    return dropped;
}

}  // namespace Service
