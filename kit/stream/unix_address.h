#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

namespace Kit {

/** The address of a UNIX socket at a path. */
class UnixAddress {
public:
    /** @throws InputError when `path` is empty or longer than the system's 107 bytes. */
    explicit UnixAddress(std::string const& path);

    sockaddr const* get() const noexcept;
    socklen_t size() const noexcept;

private:
    sockaddr_un address_ = {};
};

/** Connects `fd` to the socket at `address`. Returns whether it did, else leaves errno. */
bool connect_to(int fd, UnixAddress const& address) noexcept;

}  // namespace Kit
