#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "kit/base/file_descriptor.h"

namespace Service {

/**
 * A second look at the file that a recorder is writing, through a descriptor of its own: how far
 * its whole records reach, whether it is still where it was, and the flush that a recorder cannot
 * check. The descriptor follows the file wherever it is moved to, and holds a lock on it by which
 * other services see that the file is being written.
 *
 * Owns the descriptor. One thread at a time.
 */
class OpenRecording {
public:
    /** Where the file is. */
    enum class Place { kInPlace, kMoved, kDeleted };

    /** None. */
    OpenRecording() = default;

    /** Opens the file at `path`, which a recorder has just begun. Returns 0 or the reason. */
    int open(std::string const& path);

    /** Forgets the file. */
    void close();

    bool is_open() const { return file_.valid(); }
    std::string const& path() const { return path_; }
    /** The whole records in the file. */
    uint32_t frames() const { return frames_; }
    /** Bytes of the header and of all whole records. */
    uint64_t size() const { return size_; }
    /** The device that the file is on. */
    dev_t device() const { return device_; }

    Place place() const;

    /** Whether the file now ends with a whole record of `size` bytes more, which then counts. */
    bool take_record(size_t size);

    /** Truncates the file after its last whole record and has its header count them. Returns 0 or
     * the reason. */
    int mend() const;

    /** Whether the file is larger than its whole records. */
    bool is_torn() const;

    /** Flushes the file. Returns 0 or the reason. */
    int flush() const;

    /** Whether the file at `path` is this one. */
    bool is_at(std::string const& path) const;

private:
    Kit::FileDescriptor file_;
    std::string path_;
    uint32_t frames_ = 0;
    uint64_t size_ = 0;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

/** Flushes the directory at `path`, so that the names in it are durable. Returns 0 or the reason.
 */
int flush_directory(std::string const& path);

}  // namespace Service
