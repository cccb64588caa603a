#pragma once

#include <unistd.h>

#include <utility>

namespace Service {

/** Owns a descriptor and closes it; -1 is none. Moved, not copied. */
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) noexcept : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    FileDescriptor(FileDescriptor const&) = delete;
    FileDescriptor& operator=(FileDescriptor const&) = delete;

    int get() const noexcept { return fd_; }
    bool valid() const noexcept { return fd_ >= 0; }

    /** Gives the descriptor away; this object has none afterwards. */
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

    /** Closes the descriptor and owns `fd` in its place. */
    void reset(int fd = -1) noexcept {
        if (fd_ >= 0) close(fd_);  // there is nothing to do about a failure
        fd_ = fd;
    }

private:
    int fd_;
};

}  // namespace Service
