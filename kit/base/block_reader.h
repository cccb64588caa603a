#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/base/file_descriptor.h"

namespace Kit {

/**
 * Reads a file, a pipe or standard input from front to back through one buffer, which is as large
 * as the largest window that was requested and at least kBlockSize. Owns the descriptor and the
 * buffer. One thread at a time.
 *
 * The end of the input is not remembered: a file that has grown since has more bytes at the next
 * call, a file that was truncated meanwhile ends where it ends now.
 */
class BlockReader {
public:
    /** The most bytes of one read, and the size of the smallest buffer. */
    static constexpr size_t kBlockSize = 256 * 1024;

    /**
     * Opens `path`; "-" is standard input. Opening a FIFO waits for its writer.
     *
     * @param block_size initial size of the buffer in bytes, where less than a block is enough.
     * @throws InputError "path: reason" when it cannot be opened or is a directory or a device.
     */
    explicit BlockReader(std::string const& path, size_t block_size = kBlockSize);
    BlockReader(BlockReader const&) = delete;
    BlockReader& operator=(BlockReader const&) = delete;

    /**
     * The bytes from the current position on: `size` or more, fewer only when the input ends
     * before. Valid until the next call of window() or rewind().
     *
     * @throws InputError "path: reason" when the input cannot be read.
     */
    std::string_view window(size_t size) {
        if (end_ - begin_ < size) fill(size);
        return {buffer_.data() + begin_, end_ - begin_};
    }

    /** Moves on by `size` bytes, at most what the last window held. */
    void advance(size_t size) {
        begin_ += size;
        position_ += size;
    }

    /** The current position in bytes from the front. */
    uint64_t offset() const { return position_; }

    /** The path, or "standard input". */
    std::string const& name() const { return path_; }

    /** Returns to the front. @throws InputError when the input is a pipe. */
    void rewind();

    /**
     * Sets a function that is called with the descriptor before every read, on the reading thread.
     * It may wait, and throw, which ends the read.
     */
    void set_wait(std::function<void(int fd)> wait) { before_read_ = std::move(wait); }

private:
    std::string path_;
    FileDescriptor file_;
    std::function<void(int)> before_read_;
    std::vector<char> buffer_;
    size_t begin_ = 0;
    size_t end_ = 0;
    uint64_t position_ = 0;

    void fill(size_t size);
    void make_room(size_t size);
    size_t read_block(char* into, size_t size);
    [[noreturn]] void fail(int error) const;
};

}  // namespace Kit
