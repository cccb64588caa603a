#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Kit {

/**
 * Owns a descriptor of the system and closes it; a negative number is none. Moved, not copied. One
 * thread at a time. Closing leaves `errno` as it is, so that an error can still be reported
 * after the descriptor that it came from was closed.
 */
class FileDescriptor {
public:
    /** Owns `fd` from now on. */
    explicit FileDescriptor(int fd = -1) noexcept : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    FileDescriptor(FileDescriptor const&) = delete;
    FileDescriptor& operator=(FileDescriptor const&) = delete;

    /** The descriptor, which stays this object's. */
    int get() const noexcept { return fd_; }
    bool valid() const noexcept { return fd_ >= 0; }

    /** Releases the descriptor to the caller; this object has none afterwards. */
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

    /** Closes the descriptor and owns `fd` in its place. */
    void reset(int fd = -1) noexcept {
        const int error = errno;
        if (fd_ >= 0) close(fd_);  // it is gone whatever close answers
        fd_ = fd;
        errno = error;
    }

private:
    int fd_;
};

}  // namespace Kit
