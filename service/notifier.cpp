#include "service/notifier.h"

#include <systemd/sd-daemon.h>

#include <cstdint>

#include "kit/base/errno_text.h"
#include "log/ilog.h"

namespace Service {

void Notifier::ready(std::string const& status) {
    send("READY=1\nSTATUS=" + status);
}

void Notifier::status(std::string const& text) {
    send("STATUS=" + text);
}

void Notifier::alive() {
    send("WATCHDOG=1");
}

void Notifier::stopping() {
    send("STOPPING=1\nSTATUS=completing files");
}

std::optional<std::chrono::microseconds> Notifier::alive_interval() {
    uint64_t timeout_us = 0;
    if (sd_watchdog_enabled(0, &timeout_us) <= 0) return std::nullopt;
    return std::chrono::microseconds(timeout_us / 2);
}

void Notifier::send(std::string const& state) {
    const int result = sd_notify(0, state.c_str());
    if (result >= 0 || failure_logged_) return;
    failure_logged_ = true;
    Petrel::ilog(1) << "Failed to notify the service manager: " << Kit::errno_text(-result)
                    << std::endl;
}

}  // namespace Service
