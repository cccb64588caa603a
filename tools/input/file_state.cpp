#include "tools/input/file_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <optional>

namespace Tools {

namespace {

constexpr std::time_t kRecently = 60;

/**
 * Whether a process has `path` open for writing: only then the system refuses a read lease. It
 * tells the owner of the file and the superuser, and not on every file system.
 */
std::optional<bool> has_writer(std::string const& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    // Who opens the file for writing while the lease stands has this process told by a signal,
    // which would otherwise be a deadly one.
    fcntl(fd, F_SETSIG, SIGURG);
    std::optional<bool> answer;
    if (fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        fcntl(fd, F_SETLEASE, F_UNLCK);
        answer = false;
    } else if (errno == EAGAIN) {
        answer = true;
    }
    close(fd);
    return answer;
}

bool was_changed_recently(std::string const& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && std::time(nullptr) - status.st_mtime < kRecently;
}

}  // namespace

FileState find_file_state(Kit::RecordingFile const& file) {
    if (!file.name) return FileState::kUnknown;
    if (file.name->complete) return FileState::kComplete;
    const std::optional<bool> writer = has_writer(file.path);
    return writer.value_or(was_changed_recently(file.path)) ? FileState::kBeingWritten
                                                            : FileState::kUnfinished;
}

char const* name_of(FileState state) {
    switch (state) {
        case FileState::kComplete:
            return "complete";
        case FileState::kBeingWritten:
            return "being-written";
        case FileState::kUnfinished:
            return "unfinished";
        case FileState::kUnknown:
            break;
    }
    return "unknown";
}

}  // namespace Tools
