#pragma once

#include <sys/types.h>

#include <string>

#include "kit/base/file_descriptor.h"

namespace Kit {

/**
 * A UNIX stream socket that listens at a path, for one service at a time.
 *
 * Owns the socket's descriptor (non-blocking, close-on-exec), the socket file and a lock file
 * beside it, "<path>.lock", which is held until the object is destroyed: of two services that start
 * at once only one listens. A stale socket file of a killed service is replaced. The destructor
 * closes the descriptor and removes both files; a socket file that another process has put at the
 * path meanwhile stays. The accessors may be called from any thread.
 */
class ListeningSocket {
public:
    /**
     * Begins to listen at `path`, with the permissions that the umask leaves.
     *
     * @throws Error with the path and the reason: "already in use by a running service", "is
     *         not a socket", a path of more than 107 bytes, a missing or unwritable directory. Then
     *         nothing at the path has changed.
     */
    explicit ListeningSocket(std::string path);
    ~ListeningSocket();
    ListeningSocket(ListeningSocket const&) = delete;
    ListeningSocket& operator=(ListeningSocket const&) = delete;

    /** The descriptor to accept clients from; stays this object's. */
    int fd() const noexcept;

    std::string const& path() const noexcept;

    /**
     * Listens at the path again if the socket file was deleted, as by a clean-up of its directory;
     * to be called periodically by one thread at a time. Connected clients stay connected. A file
     * of another process at the path stays too; that, and a path that cannot be listened at, is
     * logged once until the path is restored.
     *
     * @return whether fd(), which keeps its number, is another socket now.
     */
    bool restore();

private:
    FileDescriptor acquire_lock() const;
    void replace_stale_socket() const;
    void listen_at_path();
    bool listen_again();
    void release_lock() noexcept;

    std::string socket_path_;
    std::string lock_path_;
    FileDescriptor lock_file_;
    FileDescriptor listening_;
    bool lost_ = false;  // the path, and that was logged
    dev_t device_ = 0;   // of the socket file, with inode_ its identity
    ino_t inode_ = 0;
};

}  // namespace Kit
