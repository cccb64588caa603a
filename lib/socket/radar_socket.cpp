#include "socket/radar_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "log/failure_report.h"

namespace Radar {

RadarSocket::RadarSocket() : ends_{-1, -1} {
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) < 0) {
        throw errno_exception(errno, "Failed to create socket pair");
    }
    const int flags = fcntl(internal(), F_GETFL);
    if (fcntl(internal(), F_SETFL, flags | O_NONBLOCK) < 0) {
        const int error = errno;
        close(internal());
        close(external());
        throw errno_exception(error, "Failed to make socket non-blocking");
    }
}

RadarSocket::~RadarSocket() {
    if (external() >= 0) close(external());
    if (internal() >= 0) close(internal());
}

int RadarSocket::internal() const {
    return ends_[0];
}

int RadarSocket::external() const {
    return ends_[1];
}

}  // namespace Radar
