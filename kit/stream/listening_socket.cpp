#include "kit/stream/listening_socket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/stream/unix_address.h"
#include "log/ilog.h"

namespace Kit {

namespace {

constexpr char kInUse[] = "already in use by a running service";

Error failure(std::string const& path, std::string const& reason) {
    return Error(path + ": " + reason);
}

Error system_failure(std::string const& path, std::string const& what) {
    return failure(path, what + ": " + errno_text(errno));
}

FileDescriptor open_socket() noexcept {
    return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/** Whether a process has the socket at `path` open. */
bool is_alive(std::string const& path) {
    const FileDescriptor probe = open_socket();
    if (!probe.valid()) throw system_failure(path, "cannot open a socket");
    if (connect_to(probe.get(), UnixAddress(path))) return true;
    // A full backlog and a socket of another type have an owner too.
    if (errno == EAGAIN || errno == EPROTOTYPE) return true;
    if (errno == ECONNREFUSED || errno == ENOENT) return false;
    throw system_failure(path, "cannot determine whether it is in use");
}

bool is_same_file(struct stat const& status, dev_t device, ino_t inode) noexcept {
    return status.st_dev == device && status.st_ino == inode;
}

/** Whether `path` names the file that `file` has open. */
bool names_file(std::string const& path, FileDescriptor const& file) noexcept {
    struct stat named = {};
    struct stat open = {};
    return lstat(path.c_str(), &named) == 0 && fstat(file.get(), &open) == 0 &&
           is_same_file(named, open.st_dev, open.st_ino);
}

}  // namespace

ListeningSocket::ListeningSocket(std::string path)
    : socket_path_(std::move(path)), lock_path_(socket_path_ + ".lock") {
    const UnixAddress checked(socket_path_);
    lock_file_ = acquire_lock();
    try {
        replace_stale_socket();
        listen_at_path();
    } catch (...) {
        release_lock();
        throw;
    }
}

// A file that cannot be removed is left as by a killed service: the next one replaces it.
ListeningSocket::~ListeningSocket() {
    listening_.reset();
    struct stat status = {};
    if (lstat(socket_path_.c_str(), &status) == 0 && is_same_file(status, device_, inode_)) {
        unlink(socket_path_.c_str());
    }
    release_lock();
}

int ListeningSocket::fd() const noexcept {
    return listening_.get();
}

std::string const& ListeningSocket::path() const noexcept {
    return socket_path_;
}

// The holder of the lock removes its file, so a lock counts only while the path still names the
// file that was locked.
FileDescriptor ListeningSocket::acquire_lock() const {
    for (;;) {
        FileDescriptor file(
            open(lock_path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file.valid()) throw system_failure(socket_path_, "cannot create " + lock_path_);
        if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) throw failure(socket_path_, kInUse);
            throw system_failure(socket_path_, "cannot lock " + lock_path_);
        }
        if (names_file(lock_path_, file)) return file;
    }
}

void ListeningSocket::replace_stale_socket() const {
    struct stat status = {};
    if (lstat(socket_path_.c_str(), &status) != 0) {
        if (errno == ENOENT) return;
        throw system_failure(socket_path_, "cannot be examined");
    }
    if (!S_ISSOCK(status.st_mode)) throw failure(socket_path_, "exists and is not a socket");
    if (is_alive(socket_path_)) throw failure(socket_path_, kInUse);
    if (unlink(socket_path_.c_str()) != 0 && errno != ENOENT) {
        throw system_failure(socket_path_, "cannot remove the socket of a dead service");
    }
}

bool ListeningSocket::restore() {
    try {
        if (!listen_again()) {
            lost_ = false;
            return false;
        }
        Petrel::ilog(1) << socket_path_ << ": was deleted; listening there again" << std::endl;
        lost_ = false;
        return true;
    } catch (Error const& error) {
        if (!lost_) Petrel::ilog(1) << error.what() << "; clients cannot connect" << std::endl;
        lost_ = true;
        return false;
    }
}

/** Returns whether the socket file was gone. */
bool ListeningSocket::listen_again() {
    struct stat status = {};
    if (lstat(socket_path_.c_str(), &status) == 0) {
        if (is_same_file(status, device_, inode_)) return false;
        throw failure(socket_path_, "was replaced by another process");
    }
    if (errno != ENOENT) throw system_failure(socket_path_, "cannot be examined");
    if (!names_file(lock_path_, lock_file_)) lock_file_ = acquire_lock();
    listen_at_path();
    return true;
}

// The descriptor keeps its number, which its users hold.
void ListeningSocket::listen_at_path() {
    const UnixAddress address(socket_path_);
    FileDescriptor fresh = open_socket();
    if (!fresh.valid()) throw system_failure(socket_path_, "cannot open a socket");
    if (bind(fresh.get(), address.get(), address.size()) != 0) {
        throw system_failure(socket_path_, "cannot listen");
    }
    struct stat status = {};
    if (listen(fresh.get(), SOMAXCONN) != 0 || lstat(socket_path_.c_str(), &status) != 0 ||
        (listening_.valid() && dup3(fresh.get(), listening_.get(), O_CLOEXEC) < 0)) {
        const Error failed = system_failure(socket_path_, "cannot listen");
        unlink(socket_path_.c_str());  // the next service replaces it otherwise
        throw failed;
    }
    if (!listening_.valid()) listening_ = std::move(fresh);
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

// A lock file that cannot be removed locks nothing once its descriptor is closed.
void ListeningSocket::release_lock() noexcept {
    if (names_file(lock_path_, lock_file_)) unlink(lock_path_.c_str());
    lock_file_.reset();
}

}  // namespace Kit
