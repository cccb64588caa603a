#include "service/notifier.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "kit/base/errno_text.h"
#include "kit/base/file_descriptor.h"
#include "log/ilog.h"

namespace Service {

namespace {

/** Sends without waiting for a manager that does not read. Returns 0 or the reason. */
int send_datagram(std::string const& path, std::string const& text) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return ENAMETOOLONG;
    path.copy(address.sun_path, path.size());
    if (path[0] == '@') address.sun_path[0] = '\0';  // a name in no file system
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    const Kit::FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket.valid()) return errno;
    const ssize_t sent = sendto(socket.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                                reinterpret_cast<sockaddr const*>(&address), size);
    return sent < 0 ? errno : 0;
}

}  // namespace

void Notifier::ready(std::string const& status) {
    send("READY=1\nSTATUS=" + status);
}

void Notifier::status(std::string const& text) {
    send("STATUS=" + text);
}

void Notifier::alive() {
    send("WATCHDOG=1");
}

void Notifier::stopping(std::string const& status) {
    send("STOPPING=1\nSTATUS=" + status);
}

std::optional<std::chrono::microseconds> Notifier::alive_interval() {
    uint64_t timeout_us = 0;
    if (sd_watchdog_enabled(0, &timeout_us) <= 0) return std::nullopt;
    return std::chrono::microseconds(timeout_us / 2);
}

void Notifier::send(std::string const& state) {
    char const* const path = std::getenv("NOTIFY_SOCKET");
    if (path == nullptr || *path == '\0') return;
    const int error = send_datagram(path, state);
    if (error == 0 || failure_logged_) return;
    failure_logged_ = true;
    Petrel::ilog(1) << "Failed to notify the service manager: " << Kit::errno_text(error)
                    << std::endl;
}

}  // namespace Service
