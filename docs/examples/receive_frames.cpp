// Receives frames of targets from a radar service and prints their number of targets and nearest
// one.
//
//     receive_frames SOCKET [FRAMES]

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "socket/socket_buffer.h"

namespace {

/** Fills `bytes` from the stream; false at its end and on errors. */
bool read_all(int fd, void* bytes, size_t size) {
    for (size_t done = 0; done < size;) {
        const ssize_t got = read(fd, static_cast<char*>(bytes) + done, size - done);
        if (got <= 0) return false;
        done += static_cast<size_t>(got);
    }
    return true;
}

int connect_to(char const* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) return -1;
    return connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 ? fd : -1;
}

}  // namespace

int main(int argc, char** argv) {
    const int fd = argc > 1 ? connect_to(argv[1]) : -1;
    if (fd < 0) {
        std::perror(argc > 1 ? argv[1] : "usage: receive_frames SOCKET [FRAMES]");
        return 1;
    }
    Radar::SocketBuffer frame(0);
    uint32_t header[2] = {};  // magic and length, little-endian
    for (long left = argc > 2 ? std::atol(argv[2]) : -1; left != 0; --left) {
        if (!read_all(fd, header, sizeof(header))) break;
        std::string encoding(header[1], '\0');
        if (!read_all(fd, encoding.data(), encoding.size()) || !frame.set_data(encoding)) break;
        float nearest = 0.0F;
        for (RO::TargetData const& target : frame) {
            nearest = nearest == 0.0F ? target.r() : std::min(nearest, target.r());
        }
        std::cout << frame.timestamp() << ": " << frame.size() << " targets, nearest at " << nearest
                  << " m" << std::endl;
    }
    return close(fd) == 0 ? 0 : 1;
}
