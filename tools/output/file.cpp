#include "tools/output/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "tools/cli/directory_of.h"

namespace Tools {

namespace {

constexpr size_t kPieceSize = 256 * 1024;

/** The file that `path` means, when it is a link. */
std::string follow_link(std::string const& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const std::string target = std::filesystem::weakly_canonical(path, error).string();
    return error ? path : target;
}

void check_target(std::string const& path, bool force) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return;
    if (!S_ISREG(status.st_mode)) throw Kit::Error(path + ": is there, and is no file");
    if (!force) throw Kit::Error(path + ": is there; --force replaces it");
}

/** Beside the file, so that it can take its name; hidden, and not what anybody else writes. */
std::string partial_path_of(std::string const& path) {
    const std::filesystem::path target(path);
    return (target.parent_path() /
            ("." + target.filename().string() + "." + std::to_string(getpid()) + ".partial"))
        .string();
}

}  // namespace

OutputFile::OutputFile(std::string const& path, bool force)
    : final_path_(follow_link(path)),
      partial_path_(partial_path_of(final_path_)),
      replaces_(force) {
    if (std::filesystem::path(final_path_).filename().empty()) fail(EISDIR);
    check_target(final_path_, force);
    fd_ = open(partial_path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd_ < 0) fail(errno);
}

OutputFile::~OutputFile() {
    if (fd_ < 0) return;
    close(fd_);
    unlink(partial_path_.c_str());
}

void OutputFile::write(std::string_view bytes) {
    if (bytes.size() >= kPieceSize) {
        flush();
        put(written_, bytes);
        written_ += bytes.size();
        return;
    }
    collected_ += bytes;
    if (collected_.size() >= kPieceSize) flush();
}

void OutputFile::overwrite(uint64_t offset, std::string_view bytes) {
    flush();
    put(offset, bytes);
}

void OutputFile::flush() {
    put(written_, collected_);
    written_ += collected_.size();
    collected_.clear();
}

void OutputFile::put(uint64_t offset, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = pwrite(fd_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(errno);
        offset += static_cast<uint64_t>(count);
        bytes.remove_prefix(static_cast<size_t>(count));
    }
}

void OutputFile::finish() {
    flush();
    if (fsync(fd_) != 0) fail(errno);
    give_name();
    const int closed = close(fd_);
    fd_ = -1;
    if (closed != 0) fail(errno);
    flush_directory();
}

void OutputFile::give_name() {
    if (!replaces_) {
        if (renameat2(AT_FDCWD, partial_path_.c_str(), AT_FDCWD, final_path_.c_str(),
                      RENAME_NOREPLACE) == 0) {
            return;
        }
        if (errno != EINVAL && errno != ENOSYS) fail(errno);
        check_target(final_path_, replaces_);  // a file system that cannot do both at once
    }
    if (rename(partial_path_.c_str(), final_path_.c_str()) != 0) fail(errno);
}

/** So that the name survives a power cut, too. Not every file system can do it. */
void OutputFile::flush_directory() const {
    const int directory =
        open(directory_of(final_path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) return;
    const bool failed = fsync(directory) != 0 && errno != EINVAL;
    const int error = errno;
    close(directory);
    if (failed) fail(error);
}

void OutputFile::fail(int error) const {
    throw Kit::Error(final_path_ + ": " + Kit::errno_text(error));
}

void refuse_same_file(std::string const& input, std::string const& output) {
    std::error_code ignored;
    if (std::filesystem::equivalent(input, output, ignored)) {
        throw Kit::Error(output + ": is the input, which is never changed");
    }
}

}  // namespace Tools
