#include "socket/socket_buffer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string_view>

#include "formats.h"
#include "socket/frame_encoding.h"
#include "socket/index_check.h"

namespace Radar {

namespace {

/** Waits until `fd` takes more bytes, however long that is. */
bool wait_writable(int fd) {
    pollfd wait = {fd, POLLOUT, 0};
    return poll(&wait, 1, -1) == 1;
}

bool write_all(int fd, char const* bytes, unsigned int len) {
    for (unsigned int written = 0; written < len;) {
        const ssize_t result = write(fd, bytes + written, len - written);
        if (result > 0) {
            written += static_cast<unsigned int>(result);
        } else if (result == 0 || errno != EAGAIN || !wait_writable(fd)) {
            return false;
        }
    }
    return true;
}

template <typename Value>
void send_value(SocketBuffer& buffer, Value value) {
    const std::string_view bytes = bytes_of(value);
    buffer.send_buffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

}  // namespace

SocketBuffer::iterator::iterator(RO::RadarObjects const* frame, int index)
    : index_(index), frame_(frame) {}

SocketBuffer::iterator SocketBuffer::iterator::operator++() {
    ++index_;
    return *this;
}

SocketBuffer::iterator SocketBuffer::iterator::operator++(int) {
    const iterator before = *this;
    ++index_;
    return before;
}

RO::TargetData const& SocketBuffer::iterator::operator*() const {
    check_index(index_, frame_->targets_size());
    return frame_->targets(index_);
}

RO::TargetData const* SocketBuffer::iterator::operator->() const {
    return &**this;
}

bool SocketBuffer::iterator::operator==(iterator const& other) const {
    return frame_ == other.frame_ && index_ == other.index_;
}

bool SocketBuffer::iterator::operator!=(iterator const& other) const {
    return !(*this == other);
}

SocketBuffer::SocketBuffer(int limit) : limit_(limit) {
    frame_.set_magic(kFrameMagic);
}

// The walk goes over the places that were taken at its start, while every removal moves the later
// consumers up by one: places 0, 2, 4, … and the last are closed. Programs count on the descriptors
// that it leaves open. A place that is vacant by then still names the last consumer.
SocketBuffer::~SocketBuffer() {
    const std::size_t places = consumers_.size();
    const int last_key = consumers_.empty() ? 0 : consumers_.back().first;
    for (std::size_t place = 0; place < places; ++place) {
        remove_fd(place < consumers_.size() ? consumers_[place].first : last_key);
    }
}

void SocketBuffer::reserve(int limit) {
    limit_ = limit;
}

int SocketBuffer::size() const {
    return frame_.targets_size();
}

void SocketBuffer::push_back(RO::TargetData const& target) {
    if (limit_ > frame_.targets_size()) frame_.add_targets()->CopyFrom(target);
}

RO::TargetData* SocketBuffer::add_targets() {
    return limit_ > frame_.targets_size() ? frame_.add_targets() : nullptr;
}

RO::TargetData& SocketBuffer::operator[](int index) {
    check_index(index, size());
    return *frame_.mutable_targets(index);
}

SocketBuffer::iterator SocketBuffer::begin() const {
    return iterator(&frame_, 0);
}

SocketBuffer::iterator SocketBuffer::end() const {
    return iterator(&frame_, size());
}

void SocketBuffer::set_timestamp(unsigned long long timestamp) {
    frame_.set_timestamp(timestamp);
}

unsigned long long SocketBuffer::timestamp() const {
    return frame_.timestamp();
}

void SocketBuffer::clear() {
    frame_.clear_targets();
}

std::string SocketBuffer::data() const {
    return encode(frame_);
}

bool SocketBuffer::set_data(char const* bytes, unsigned int len) {
    clear();
    // The parser takes the length as an int; no frame is that long. It resets the frame first.
    if (len > static_cast<unsigned int>(std::numeric_limits<int>::max())) {
        frame_.Clear();
        return false;
    }
    return frame_.ParseFromArray(bytes, static_cast<int>(len));
}

bool SocketBuffer::set_data(std::string const& bytes) {
    return set_data(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

void SocketBuffer::set_fd(int key, int fd) {
    remove_fd(key);
    consumers_.emplace_back(key, fd);
}

void SocketBuffer::remove_fd(int key) {
    const auto found = std::find_if(consumers_.begin(), consumers_.end(),
                                    [key](auto const& consumer) { return consumer.first == key; });
    if (found == consumers_.end()) return;
    close(found->second);
    consumers_.erase(found);
}

void SocketBuffer::send_buffer(char const* bytes, unsigned int len) {
    for (auto consumer = consumers_.begin(); consumer != consumers_.end();) {
        if (write_all(consumer->second, bytes, len)) {
            ++consumer;
        } else {
            close(consumer->second);
            consumer = consumers_.erase(consumer);
        }
    }
}

void SocketBuffer::send() {
    if (!consumers_.empty()) {
        const std::string encoding = encode(frame_);
        const auto length = static_cast<uint32_t>(encoding.size());
        send_value(*this, frame_.magic());
        send_value(*this, length);
        send_buffer(encoding.data(), length);
    }
    clear();
}

void SocketBuffer::send(unsigned long long timestamp) {
    set_timestamp(timestamp);
    send();
}

std::ostream& SocketBuffer::operator<<(std::ostream& os) {
    return os << frame_.DebugString();
}

std::ostream& operator<<(std::ostream& os, RO::TargetData const& target) {
    return os << target.DebugString();
}

}  // namespace Radar
