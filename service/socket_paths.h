#pragma once

#include <string>

#include "service/command_line.h"

namespace Service {

/** Where the service's sockets are. */
struct SocketPaths {
    std::string stream;
    std::string status;
};

/**
 * Returns the paths that `options` ask for, or those in the runtime directory, which is made when
 * it is missing.
 *
 * @throws Kit::Error when the runtime directory is needed and cannot be used.
 */
SocketPaths choose_socket_paths(Options const& options);

}  // namespace Service
