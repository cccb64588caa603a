#pragma once

#include "petrelradar_export.h"

namespace Radar {

/**
 * A connected pair of local stream sockets that joins a producer of frames to a consumer: the
 * internal end is non-blocking and is the one that frames are written to, the external end is
 * blocking and is the consumer's.
 *
 * Owns both descriptors and closes them when it is destroyed. SocketBuffer::set_fd() takes
 * ownership of what it is given, so register a duplicate of the internal end. The accessors may be
 * called from any thread. Neither copied nor moved.
 */
class PETRELRADAR_API RadarSocket {
public:
    /**
     * Opens the pair.
     *
     * @throws std::system_error "Failed to create socket pair" or "Failed to make socket
     *         non-blocking", each with the system's reason; then no descriptor stays open.
     */
    RadarSocket();
    ~RadarSocket();
    RadarSocket(RadarSocket const&) = delete;
    RadarSocket& operator=(RadarSocket const&) = delete;

    /** The non-blocking end, which frames are written to. */
    int internal() const;
    /** The blocking end, which frames are read from. */
    int external() const;

private:
    /** The internal and the external end, as socketpair() fills them in. */
    int ends_[2];
};

}  // namespace Radar
