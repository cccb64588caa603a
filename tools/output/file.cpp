#include "tools/output/file.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

/** The file that `path` means when it is a link. */
std::string follow_link(std::string const& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return path;
    const std::string target = fs::weakly_canonical(path, error).string();
    return error ? path : target;
}

/** The path to write to. */
std::string checked_target(std::string const& path, bool force) {
    std::string target = follow_link(path);
    if (fs::path(target).filename().empty()) {
        throw Kit::Error(target + ": " + Kit::errno_text(EISDIR));
    }
    const auto exists = [&] {
        return Kit::Error(target + ": already exists (use --force to overwrite)");
    };
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) {
        if (!force && lstat(target.c_str(), &status) == 0) throw exists();  // a link to nothing
        return target;  // where it cannot be examined, it cannot be created, which is reported
    }
    if (!S_ISREG(status.st_mode)) throw Kit::Error(target + ": not a regular file");
    if (!force) throw exists();
    return target;
}

}  // namespace

OutputFile::OutputFile(std::string const& path, bool force)
    : DurableFile(checked_target(path, force), force ? Existing::kReplaced : Existing::kKept) {}

void refuse_same_file(std::string const& input, std::string const& output) {
    std::error_code ignored;  // of a file that does not exist, which is not the input
    if (fs::equivalent(input, output, ignored)) {
        throw Kit::Error(output + ": is the input, which is never changed");
    }
}

}  // namespace Tools
