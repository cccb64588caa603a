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
 * at once one gets the path. A socket file that a killed service left behind is replaced. The
 * destructor closes the descriptor and removes both files; a socket file that somebody else has put
 * at the path meanwhile stays. The accessors may be called from any thread.
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

    /** The descriptor to accept clients from; this object's. */
    int fd() const noexcept;

    std::string const& path() const noexcept;

    /**
     * Listens at the path again when the socket file is gone, as after a clean-up of its directory;
     * to be called now and then by one thread at a time. Clients that are connected stay. A file
     * that somebody else has put there stays too: then, and when the path cannot be served, that is
     * logged, once until the path is this object's again.
     *
     * @return whether there is another socket behind fd(), which keeps its number.
     */
    bool look_after();

private:
    FileDescriptor take_lock() const;
    void replace_stale_socket() const;
    void listen_at_path();
    bool listen_again();
    void release_lock() noexcept;

    std::string socket_path_;
    std::string lock_path_;
    FileDescriptor lock_file_;
    FileDescriptor listening_;
    bool lost_ = false;  // the path, and that was logged
    dev_t device_ = 0;   // of the socket file, with `inode` its identity
    ino_t inode_ = 0;
};

}  // namespace Kit
