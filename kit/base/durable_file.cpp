#include "kit/base/durable_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "kit/base/directory_of.h"
#include "kit/base/errno_text.h"
#include "kit/base/error.h"

namespace Kit {

namespace {

constexpr size_t kPieceSize = 256 * 1024;

/** Names of temporary files that are tried: a killed process of the same number may have left some.
 */
constexpr int kMostAttempts = 100;

/** Hidden, and beside the file, so that it can take its name. */
std::string temporary_path_of(std::string const& path, int attempt) {
    const std::filesystem::path target(path);
    const std::string suffix = attempt > 0 ? "-" + std::to_string(attempt) : "";
    return (target.parent_path() / ("." + target.filename().string() + "." +
                                    std::to_string(getpid()) + suffix + ".partial"))
        .string();
}

/** Not every file system can rename without replacing. */
bool cannot_rename_without_replacing(int error) {
    return error == EINVAL || error == ENOSYS;
}

}  // namespace

DurableFile::DurableFile(std::string path, Existing existing, std::string name, mode_t mode)
    : path_(std::move(path)),
      name_(name.empty() ? path_ : std::move(name)),
      existing_(existing),
      directory_(open(directory_of(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    // Files can be made in a directory that may not be read, but that one cannot be flushed.
    check(directory_.valid() || errno == EACCES);
    create(mode);
}

DurableFile::~DurableFile() {
    // A temporary file that cannot be removed stays: whatever led here is reported already.
    if (!temporary_path_.empty()) unlink(temporary_path_.c_str());
}

void DurableFile::create(mode_t mode) {
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    std::string candidate;
    for (int attempt = 0; !file_.valid(); ++attempt) {
        candidate = temporary_path_of(path_, attempt);
        file_.reset(open(candidate.c_str(), kFlags, mode));
        if (file_.valid()) break;
        if (errno != EEXIST || attempt + 1 == kMostAttempts) {
            fail("cannot create a file in its directory: " + errno_text(errno));
        }
    }
    temporary_path_ = std::move(candidate);
}

void DurableFile::write(std::string_view bytes) {
    is_flushed_ = false;
    if (bytes.size() >= kPieceSize) {
        put_collected();
        put(written_, bytes);
        written_ += bytes.size();
        return;
    }
    collected_ += bytes;
    if (collected_.size() >= kPieceSize) put_collected();
}

void DurableFile::overwrite(uint64_t offset, std::string_view bytes) {
    is_flushed_ = false;
    put_collected();
    put(offset, bytes);
}

void DurableFile::put_collected() {
    put(written_, collected_);
    written_ += collected_.size();
    collected_.clear();
}

void DurableFile::put(uint64_t offset, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count =
            pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        check(count >= 0);
        offset += static_cast<uint64_t>(count);
        bytes.remove_prefix(static_cast<size_t>(count));
    }
}

void DurableFile::set_owner_and_mode(struct stat const& status) {
    struct stat own = {};
    check(fstat(file_.get(), &own) == 0);
    const bool is_same = own.st_uid == status.st_uid && own.st_gid == status.st_gid;
    if (!is_same && fchown(file_.get(), status.st_uid, status.st_gid) != 0) {
        fail("its owner cannot be kept: " + errno_text(errno));
    }
    set_mode(status.st_mode & 07777);
}

void DurableFile::set_mode(mode_t mode) {
    is_flushed_ = false;
    if (fchmod(file_.get(), mode) != 0) fail("its mode cannot be set: " + errno_text(errno));
}

void DurableFile::flush() {
    put_collected();
    if (is_flushed_) return;
    check(fsync(file_.get()) == 0);
    is_flushed_ = true;
}

void DurableFile::finish() {
    flush();
    rename_to_target();
    temporary_path_.clear();
    flush_in_place();
}

void DurableFile::rename_to_target() {
    char const* const from = temporary_path_.c_str();
    if (existing_ == Existing::kReplaced) return check(rename(from, path_.c_str()) == 0);
    if (renameat2(AT_FDCWD, from, AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno == EEXIST) fail("already exists");
    check(cannot_rename_without_replacing(errno));
    struct stat status = {};
    if (lstat(path_.c_str(), &status) == 0) fail("already exists");
    check(rename(from, path_.c_str()) == 0);
}

// On vfat the rename writes a directory entry of size 0, which is filled when the file is flushed
// the next time: without that a power cut leaves an empty file, however well it was flushed before.
void DurableFile::flush_in_place() {
    bool succeeded = fsync(file_.get()) == 0 && close(file_.release()) == 0;
    // EINVAL: this file system does not flush directories.
    if (succeeded && directory_.valid())
        succeeded = fsync(directory_.get()) == 0 || errno == EINVAL;
    if (!succeeded) fail("written, but not flushed to storage: " + errno_text(errno));
}

void DurableFile::check(bool succeeded) const {
    if (!succeeded) fail(errno_text(errno));
}

void DurableFile::fail(std::string const& what) const {
    throw Error(name_ + ": " + what);
}

}  // namespace Kit
