#include "petrel/block.h"

#include <poll.h>

#include <utility>

namespace Petrel {

FDPort::FDPort(std::string name, int fd, FDEvent::EventMask events)
    : name_(std::move(name)), fd_(fd), events_(events), triggered_(false) {}

FDPort::~FDPort() = default;

int FDPort::triggered() {
    return triggered_ ? 1 : 0;
}

Block::Block(std::string name) : name_(std::move(name)) {}

Block::~Block() = default;

std::string const& Block::name() const {
    return name_;
}

FDPort* Block::make_fdport(std::string const& name, int fd, FDEvent::EventMask events) {
    ports_.push_back(std::unique_ptr<FDPort>(new FDPort(name, fd, events)));
    return ports_.back().get();
}

int Block::poll(int timeout_ms) {
    std::vector<pollfd> waits;
    waits.reserve(ports_.size());
    for (auto const& port : ports_) {
        waits.push_back({port->fd_, static_cast<short>(port->events_.bits()), 0});
        port->triggered_ = false;
    }
    if (::poll(waits.data(), waits.size(), timeout_ms) < 0) return -1;

    int fired = 0;
    for (std::size_t i = 0; i < waits.size(); ++i) {
        FDPort& port = *ports_[i];
        // A closed descriptor would end every later wait at once.
        if ((waits[i].revents & POLLNVAL) != 0) port.fd_ = -1;
        port.triggered_ = (waits[i].revents & ~POLLNVAL) != 0;
        if (port.triggered_) ++fired;
    }
    return fired;
}

}  // namespace Petrel
