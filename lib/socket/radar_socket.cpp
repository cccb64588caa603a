#include "socket/radar_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "log/failure_report.h"

namespace Radar {

RadarSocket::RadarSocket() : internal_end(-1), external_end(-1) {
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) < 0) {
        throw errno_exception(errno, "Failed to create socket pair");
    }
    internal_end = ends[0];
    external_end = ends[1];

    const int flags = fcntl(internal_end, F_GETFL);
    if (fcntl(internal_end, F_SETFL, flags | O_NONBLOCK) < 0) {
        const int error = errno;
        close(internal_end);
        close(external_end);
        throw errno_exception(error, "Failed to make socket non-blocking");
    }
}

RadarSocket::~RadarSocket() {
    if (external_end >= 0) close(external_end);
    if (internal_end >= 0) close(internal_end);
}

int RadarSocket::internal() const {
    return internal_end;
}

int RadarSocket::external() const {
    return external_end;
}

}  // namespace Radar
