#include "kit/base/block_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kit/base/input_error.h"

namespace Kit {

namespace {

std::string reason(int error) {
    return std::strerror(error);
}

/** Why `status` is of something that cannot be read front to back; empty when it can. */
std::string refusal(struct stat const& status) {
    if (S_ISDIR(status.st_mode)) return reason(EISDIR);
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) return "Is a device";
    return {};
}

FileDescriptor open_input(std::string const& path) {
    // Looked at before it is opened: opening some devices waits, or does something.
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw InputError(path + ": " + reason(errno));
    if (const std::string why = refusal(status); !why.empty()) throw InputError(path + ": " + why);
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) throw InputError(path + ": " + reason(errno));
    return file;
}

FileDescriptor duplicate_standard_input() {
    struct stat status = {};
    FileDescriptor file(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file.valid() || fstat(file.get(), &status) != 0) {
        throw InputError("standard input: " + reason(errno));
    }
    if (const std::string why = refusal(status); !why.empty()) {
        throw InputError("standard input: " + why);
    }
    return file;
}

void wait_until_readable(int fd) {
    pollfd wait = {fd, POLLIN, 0};
    poll(&wait, 1, -1);  // whatever it answers, the next read says what is the matter
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

BlockReader::BlockReader(std::string const& path_, size_t block_size)
    : path(path_ == "-" ? "standard input" : path_),
      file(path_ == "-" ? duplicate_standard_input() : open_input(path_)),
      buffer(block_size) {}

void BlockReader::rewind() {
    if (lseek(file.get(), 0, SEEK_SET) < 0) {
        throw InputError(path + ": cannot be read again: " + reason(errno));
    }
    begin = end = 0;
    position = 0;
}

/** Reads until the window has `size` bytes or the input ends. */
void BlockReader::fill(size_t size) {
    while (end - begin < size) {
        // Nothing is moved before there is something to read: windows beyond the end cost little.
        if (end == buffer.size()) make_room(size);
        const size_t count = read_block(buffer.data() + end, buffer.size() - end);
        if (count == 0) return;
        end += count;
    }
}

/** Moves what is left to the front, of a larger buffer if `size` bytes are more than this one. */
void BlockReader::make_room(size_t size) {
    if (buffer.size() < size) {
        std::vector<char> larger(buffer_size(size));
        std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(begin),
                  buffer.begin() + static_cast<std::ptrdiff_t>(end), larger.begin());
        buffer.swap(larger);
    } else {
        std::memmove(buffer.data(), buffer.data() + begin, end - begin);
    }
    end -= begin;
    begin = 0;
}

size_t BlockReader::read_block(char* into, size_t size) {
    for (;;) {
        if (before_read) before_read(file.get());
        const ssize_t count = read(file.get(), into, std::min(size, kBlockSize));
        if (count >= 0) return static_cast<size_t>(count);
        if (errno == EAGAIN) {
            wait_until_readable(file.get());
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void BlockReader::fail(int error) const {
    throw InputError(path + ": " + reason(error));
}

}  // namespace Kit
