#include "kit/status/runtime_directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"

namespace Kit {

namespace {

/** The value of an environment variable; empty when it is not set. */
std::string environment(char const* name) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

std::string runtime_directory() {
    const std::string managed = environment("RUNTIME_DIRECTORY");
    if (!managed.empty()) return managed.substr(0, managed.find(':'));
    const std::string session = environment("XDG_RUNTIME_DIR");
    if (!session.empty()) return session + "/petrelradar";
    if (geteuid() == 0) return "/run/petrelradar";
    return "/tmp/petrelradar-" + std::to_string(geteuid());
}

void make_runtime_directory(std::string const& directory) {
    if (mkdir(directory.c_str(), 0700) == 0) return;
    if (errno != EEXIST) throw Error(directory + ": " + errno_text(errno));

    // In a directory that everybody may write to, somebody else may have been first.
    struct stat status = {};
    if (lstat(directory.c_str(), &status) != 0) {
        throw Error(directory + ": " + errno_text(errno));
    }
    if (!S_ISDIR(status.st_mode)) throw Error(directory + ": not a directory");
    if (status.st_uid != geteuid()) throw Error(directory + ": belongs to another user");
}

std::string stream_socket_path(std::string const& directory) {
    return directory + "/targets.sock";
}

std::string status_socket_path(std::string const& directory) {
    return directory + "/status.sock";
}

}  // namespace Kit
