#include "timer/timeout.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cstdint>

#include "log/failure_report.h"

namespace Radar {

namespace {

constexpr uint16_t kReadable = 1;

}  // namespace

Timeout::Timeout(Petrel::Block* block, std::string name)
    : events(kReadable),
      fd(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)),
      port(block->make_fdport(name, fd, events)) {}

Timeout::~Timeout() {
    close(fd);
}

void Timeout::set_timeout(long sec, long nsec, bool repeat) {
    itimerspec setting = {};
    setting.it_value = {sec, nsec};
    if (repeat) setting.it_interval = setting.it_value;
    if (timerfd_settime(fd, 0, &setting, nullptr) < 0) {
        log_errno(2, "timerfd_settime failed when setting new timeout");
    }
}

bool Timeout::is_triggered() {
    if (port->triggered() == 0) return false;
    uint64_t expirations = 0;
    if (::read(fd, &expirations, sizeof(expirations)) < 0) {
        log_errno(2, "Failed to read from timerfd");
    }
    return true;
}

}  // namespace Radar
