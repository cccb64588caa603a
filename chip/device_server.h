#pragma once

#include <memory>
#include <string>

#include "chip/spidev.h"
#include "kit/base/file_descriptor.h"

struct fuse_session;

namespace Chip {

/**
 * Answers the requests of the one-file FUSE file system that stands for "/dev/spidev0.0": a regular
 * file that only its owner opens, with the behaviour of a spidev device.
 *
 * Owns the descriptor; the device is not owned and must outlive the server. One thread at a time.
 * When the server goes, programs that have the file open get ENOTCONN.
 */
class DeviceServer {
public:
    /**
     * @param fuse non-blocking descriptor of the mounted file system.
     * @throws Kit::Error when the library refuses it.
     */
    DeviceServer(Kit::FileDescriptor fuse, Spidev& device);
    ~DeviceServer();
    DeviceServer(DeviceServer const&) = delete;
    DeviceServer& operator=(DeviceServer const&) = delete;

    /**
     * Serves until the kernel knows whose file it is. To be called before any program opens the
     * file: in a user namespace it is nobody's until then, and not to be opened.
     *
     * @param path where the file system is mounted.
     * @throws Kit::Error when the file system does not get so far.
     */
    void introduce(std::string const& path);

    /** The descriptor to poll for requests. */
    int fd() const;

    /** Answers one request, if there is one. Returns false once the file system is unmounted. */
    bool serve();

private:
    struct Session;
    std::unique_ptr<Session> session_;
};

}  // namespace Chip
