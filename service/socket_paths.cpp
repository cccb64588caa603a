#include "service/socket_paths.h"

#include "kit/status/runtime_directory.h"

namespace Service {

SocketPaths choose_socket_paths(Options const& options) {
    SocketPaths paths = {options.socket, options.status_socket};
    if (!paths.stream.empty() && !paths.status.empty()) return paths;
    const std::string directory = Kit::runtime_directory();
    Kit::make_runtime_directory(directory);
    if (paths.stream.empty()) paths.stream = Kit::stream_socket_path(directory);
    if (paths.status.empty()) paths.status = Kit::status_socket_path(directory);
    return paths;
}

}  // namespace Service
