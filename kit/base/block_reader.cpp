#include "kit/base/block_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"

namespace Kit {

namespace {

/** Why `status` is of something that cannot be read front to back; empty when it can. */
std::string refusal(struct stat const& status) {
    if (S_ISDIR(status.st_mode)) return errno_text(EISDIR);
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) return "Is a device";
    return {};
}

FileDescriptor open_input(std::string const& path) {
    // Checked before it is opened: opening some devices waits, or has side effects.
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw InputError(path + ": " + errno_text(errno));
    if (const std::string why = refusal(status); !why.empty()) throw InputError(path + ": " + why);
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) throw InputError(path + ": " + errno_text(errno));
    return file;
}

FileDescriptor duplicate_standard_input() {
    struct stat status = {};
    FileDescriptor file(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file.valid() || fstat(file.get(), &status) != 0) {
        throw InputError("standard input: " + errno_text(errno));
    }
    if (const std::string why = refusal(status); !why.empty()) {
        throw InputError("standard input: " + why);
    }
    return file;
}

void wait_until_readable(int fd) {
    pollfd wait = {fd, POLLIN, 0};
    poll(&wait, 1, -1);  // an error of poll() is one of the next read, too
}

/**
 * A block, and room for `size` bytes in a power of two of blocks, which bounds how often the buffer
 * is replaced and what the old and the new one hold together.
 */
size_t buffer_size(size_t size) {
    size_t room = BlockReader::kBlockSize;
    while (room + BlockReader::kBlockSize < size) room *= 2;
    return room + BlockReader::kBlockSize;
}

}  // namespace

BlockReader::BlockReader(std::string const& path, size_t block_size)
    : path_(path == "-" ? "standard input" : path),
      file_(path == "-" ? duplicate_standard_input() : open_input(path)),
      buffer_(block_size) {}

void BlockReader::rewind() {
    if (lseek(file_.get(), 0, SEEK_SET) < 0) {
        throw InputError(path_ + ": cannot be read again: " + errno_text(errno));
    }
    begin_ = end_ = 0;
    position_ = 0;
}

/** Reads until the window has `size` bytes or the input ends. */
void BlockReader::fill(size_t size) {
    while (end_ - begin_ < size) {
        // Nothing is moved before there is something to read: windows beyond the end cost little.
        if (end_ == buffer_.size()) make_room(size);
        const size_t count = read_block(buffer_.data() + end_, buffer_.size() - end_);
        if (count == 0) return;
        end_ += count;
    }
}

/** Moves the unread bytes to the front, of a larger buffer if `size` bytes are more than this one.
 */
void BlockReader::make_room(size_t size) {
    if (buffer_.size() < size) {
        std::vector<char> larger(buffer_size(size));
        std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
                  buffer_.begin() + static_cast<std::ptrdiff_t>(end_), larger.begin());
        buffer_.swap(larger);
    } else {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    }
    end_ -= begin_;
    begin_ = 0;
}

size_t BlockReader::read_block(char* into, size_t size) {
    for (;;) {
        if (before_read_) before_read_(file_.get());
        const ssize_t count = read(file_.get(), into, std::min(size, kBlockSize));
        if (count >= 0) return static_cast<size_t>(count);
        if (errno == EAGAIN) {
            wait_until_readable(file_.get());
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void BlockReader::fail(int error) const {
    throw InputError(path_ + ": " + errno_text(error));
}

}  // namespace Kit
