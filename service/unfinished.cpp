#include "service/unfinished.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "kit/base/errno_text.h"
#include "kit/base/file_descriptor.h"
#include "kit/base/words.h"
#include "kit/recording/format.h"
#include "kit/recording/name.h"
#include "log/ilog.h"
#include "service/open_recording.h"

namespace Service {

namespace {

/** The whole records of a file. */
struct Extent {
    uint64_t size = Kit::kRecordingHeaderSize;
    uint32_t frames = 0;
    /** Whether what follows them is no part of one more. */
    bool is_damaged = false;
};

/** Reads `size` bytes; none when the file ends before. */
std::optional<std::string> read_at(int file, uint64_t offset, size_t size) {
    std::string bytes(size, '\0');
    const ssize_t read = pread(file, bytes.data(), size, static_cast<off_t>(offset));
    if (read != static_cast<ssize_t>(size)) return std::nullopt;
    return bytes;
}

bool is_zero(std::string_view bytes) {
    return bytes.find_first_not_of('\0') == std::string_view::npos;
}

Extent measure(int file, uint64_t file_size, uint32_t tag) {
    Extent extent;
    while (const auto head = read_at(file, extent.size, Kit::kRecordHeaderSize)) {
        if (Kit::read_word(*head) != tag) {
            extent.is_damaged = !is_zero(*head);  // zeros are what a power cut leaves of an end
            break;
        }
        const uint64_t length = Kit::kRecordHeaderSize + uint64_t{Kit::read_word(*head, 4)};
        if (length > file_size - extent.size) break;
        extent.size += length;
        ++extent.frames;
    }
    return extent;
}

/** Opens a file that this user alone has left, and that nobody is writing. */
Kit::FileDescriptor open_left(std::string const& path, uint64_t& size) {
    Kit::FileDescriptor file(
        open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0));
    struct stat status = {};
    const bool is_ours = file.valid() && fstat(file.get(), &status) == 0 &&
                         S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                         status.st_uid == geteuid();
    if (!is_ours || flock(file.get(), LOCK_EX | LOCK_NB) != 0) file.reset();
    size = static_cast<uint64_t>(status.st_size);
    return file;
}

bool repair(int file, Extent const& extent) {
    const std::array<char, 4> count = Kit::bytes_of_word(extent.frames);
    return ftruncate(file, static_cast<off_t>(extent.size)) == 0 &&
           pwrite(file, count.data(), count.size(), Kit::kFrameCountOffset) ==
               static_cast<ssize_t>(count.size()) &&
           fsync(file) == 0;
}

void complete(std::string const& path, uint32_t tag, UnfinishedFiles& found) {
    uint64_t size = 0;
    const Kit::FileDescriptor file = open_left(path, size);
    if (!file.valid()) return;
    const auto header = read_at(file.get(), 0, Kit::kRecordingHeaderSize);
    const Extent extent = header ? measure(file.get(), size, tag) : Extent();
    if (header && !Kit::begins_recording(*header)) return;
    if (extent.is_damaged) {
        Petrel::ilog(1) << path << ": left unfinished by an earlier run and damaged; see "
                        << "'petrelradar doctor recover'" << std::endl;
        return;
    }
    if (extent.frames == 0) {
        if (unlink(path.c_str()) == 0) ++found.removed;
        return;
    }
    const std::string completed = path + ".data";
    struct stat exists = {};
    if (lstat(completed.c_str(), &exists) == 0) return;
    if (!repair(file.get(), extent) || std::rename(path.c_str(), completed.c_str()) != 0 ||
        fsync(file.get()) != 0) {
        Petrel::ilog(1) << path << ": left unfinished by an earlier run and not completed: "
                        << Kit::errno_text(errno) << std::endl;
        return;
    }
    ++found.completed;
    found.frames += extent.frames;
}

}  // namespace

UnfinishedFiles complete_unfinished(std::string const& directory, std::string const& prefix,
                                    uint32_t tag) {
    std::error_code none;
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(directory, none)) {
        const std::string name = entry.path().filename();
        const auto parsed = Kit::parse_recording_name(name);
        if (parsed && parsed->prefix == prefix && !parsed->complete) names.push_back(name);
    }
    UnfinishedFiles found;
    for (std::string const& name : names) complete(directory + "/" + name, tag, found);
    if (found.completed == 0) return found;
    if (const int error = flush_directory(directory); error != 0) {
        Petrel::ilog(1) << directory << ": failed to flush: " << Kit::errno_text(error)
                        << std::endl;
    }
    Petrel::ilog(0) << directory << ": completed " << found.completed
                    << " files of an earlier run, " << found.frames << " frames" << std::endl;
    return found;
}

}  // namespace Service
