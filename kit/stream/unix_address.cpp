#include "kit/stream/unix_address.h"

#include <cstring>

#include "kit/base/input_error.h"

namespace Kit {

UnixAddress::UnixAddress(std::string const& path) {
    constexpr size_t kLongest = sizeof(address_.sun_path) - 1;
    if (path.empty()) throw InputError("the socket path is empty");
    if (path.size() > kLongest) {
        throw InputError(path + ": too long for a socket path, which has at most " +
                         std::to_string(kLongest) + " bytes");
    }
    address_.sun_family = AF_UNIX;
    std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
}

sockaddr const* UnixAddress::get() const noexcept {
    return reinterpret_cast<sockaddr const*>(&address_);
}

socklen_t UnixAddress::size() const noexcept {
    return sizeof(address_);
}

bool connect_to(int fd, UnixAddress const& address) noexcept {
    return connect(fd, address.get(), address.size()) == 0;
}

}  // namespace Kit
