#include "service/open_recording.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "kit/base/words.h"
#include "kit/recording/format.h"

namespace Service {

namespace {

/** 0, or the reason of a call that failed. */
int outcome(int result) {
    return result < 0 ? errno : 0;
}

}  // namespace

int OpenRecording::open(std::string const& path) {
    close();
    Kit::FileDescriptor file(
        ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0));
    struct stat status = {};
    if (!file.valid() || fstat(file.get(), &status) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return EEXIST;
    // On a file system without locks the file goes without.
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return EBUSY;
    file_ = std::move(file);
    path_ = path;
    frames_ = 0;
    size_ = Kit::kRecordingHeaderSize;
    device_ = status.st_dev;
    inode_ = status.st_ino;
    return 0;
}

void OpenRecording::close() {
    file_.reset();
    path_.clear();
    frames_ = 0;
    size_ = 0;
}

OpenRecording::Place OpenRecording::place() const {
    struct stat status = {};
    if (fstat(file_.get(), &status) == 0 && status.st_nlink == 0) return Place::kDeleted;
    return is_at(path_) ? Place::kInPlace : Place::kMoved;
}

bool OpenRecording::is_at(std::string const& path) const {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

bool OpenRecording::take_record(size_t size) {
    struct stat status = {};
    if (fstat(file_.get(), &status) != 0) return false;
    if (static_cast<uint64_t>(status.st_size) != size_ + size) return false;
    size_ += size;
    ++frames_;
    return true;
}

bool OpenRecording::is_torn() const {
    struct stat status = {};
    return fstat(file_.get(), &status) == 0 && static_cast<uint64_t>(status.st_size) > size_;
}

int OpenRecording::mend() const {
    std::string count;
    Kit::append_word(count, frames_);
    if (ftruncate(file_.get(), static_cast<off_t>(size_)) != 0) return errno;
    const ssize_t written =
        pwrite(file_.get(), count.data(), count.size(), static_cast<off_t>(Kit::kFrameCountOffset));
    if (written < 0) return errno;
    return written == static_cast<ssize_t>(count.size()) ? 0 : EIO;
}

int OpenRecording::flush() const {
    return outcome(fsync(file_.get()));
}

int flush_directory(std::string const& path) {
    const Kit::FileDescriptor directory(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    return directory.valid() ? outcome(fsync(directory.get())) : errno;
}

}  // namespace Service
