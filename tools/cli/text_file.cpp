#include "tools/cli/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "tools/cli/signals.h"

namespace Tools {

namespace {

[[noreturn]] void fail(std::string const& name, std::string const& reason) {
    throw Kit::InputError(Kit::printable(name) + ": " + reason);
}

/** A descriptor that is closed when it goes. */
struct OpenFile {
    explicit OpenFile(std::string const& path)
        : fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {}
    ~OpenFile() {
        if (fd >= 0) close(fd);
    }
    OpenFile(OpenFile const&) = delete;
    OpenFile& operator=(OpenFile const&) = delete;

    int fd;
};

std::string read_to_end(int fd, std::string const& name) {
    std::string text;
    std::array<char, 65536> piece;
    for (;;) {
        const ssize_t size = read(fd, piece.data(), piece.size());
        if (size < 0 && errno == EINTR && !was_interrupted()) continue;
        if (size < 0) fail(name, Kit::errno_text(errno));
        if (size == 0) return text;
        text.append(piece.data(), static_cast<size_t>(size));
        if (text.size() > kLargestTextFile) fail(name, "larger than 16 MiB");
    }
}

}  // namespace

std::string read_text_file(std::string const& path, std::string const& name) {
    const OpenFile file(path);
    struct stat status = {};
    // A socket cannot even be opened; the system's reason for that is hard to understand.
    if (file.fd < 0 && errno == ENXIO) fail(name, "not a regular file");
    if (file.fd < 0 || fstat(file.fd, &status) != 0) fail(name, Kit::errno_text(errno));
    if (!S_ISREG(status.st_mode)) fail(name, "not a regular file");
    return read_to_end(file.fd, name);
}

std::string read_text_file(std::string const& path) {
    return read_text_file(path, path);
}

std::string read_standard_input() {
    return read_to_end(STDIN_FILENO, "standard input");
}

}  // namespace Tools
