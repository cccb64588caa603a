#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Kit {

/** How a relay serves its clients. */
struct RelayOptions {
    /** Where clients connect: the path of a UNIX stream socket. */
    std::string socket_path;
    /** The limit of queued frames per client; 0 counts as 1. */
    size_t queue_frames = 64;
    /** A client whose queue makes no progress by a whole frame for this long is disconnected; 0 or
     * less: never. */
    std::chrono::milliseconds stuck_after{2000};
    /** The limit of clients connected at a time; 0 counts as 1. */
    size_t most_clients = 65536;
    /** The limit of queued bytes per client, not counting the frame that is being sent. A frame of
     * any size is queued while no other waits. */
    size_t queue_bytes = 8 * 1024 * 1024;
    /** How often the socket file is checked; a deleted one is re-created. 0 or less: never. */
    std::chrono::milliseconds check_socket_every{5000};
};

}  // namespace Kit
