#pragma once

#include <unistd.h>

#include <utility>

namespace Chip {

/** Owns a descriptor and closes it; -1 is none. Moved, not copied. */
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    UniqueFd(UniqueFd const&) = delete;
    UniqueFd& operator=(UniqueFd const&) = delete;

    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

    void reset() {
        // A descriptor is gone whatever close answers.
        if (fd_ >= 0) close(release());
    }

private:
    int fd_ = -1;
};

}  // namespace Chip
