#include "tools/settings/file.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "config/configuration.h"
#include "kit/base/durable_file.h"
#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "tools/cli/text_file.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

/** The file behind `path`, as far as there is one. */
std::string follow_links(std::string const& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return path;
    const std::string target = fs::canonical(path, error).string();
    if (!error) return target;
    throw Kit::InputError(Kit::printable(path) + ": a symbolic link that leads nowhere: " +
                          Kit::errno_text(error.value()));
}

struct stat look_at(std::string const& path, std::string const& name) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) return status;
    if (errno != ENOENT)
        throw Kit::InputError(Kit::printable(name) + ": " + Kit::errno_text(errno));
    return {};
}

bool is_same_file(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

SettingsFile::SettingsFile(std::string const& path)
    : name_(path),
      real_path_(follow_links(path)),
      before_(look_at(real_path_, name_)),
      is_there_(before_.st_nlink > 0),
      content_(path, is_there_ ? read_text_file(real_path_, name_) : "") {}

void SettingsFile::save() const {
    if (is_there_ && access(real_path_.c_str(), W_OK) != 0) fail(Kit::errno_text(errno));
    constexpr mode_t kModeOfANewFile = 0644;
    constexpr mode_t kPrivate = 0600;  // until it has the owner and mode of the file before
    using Existing = Kit::DurableFile::Existing;
    Kit::DurableFile replacement(real_path_, Existing::kReplaced, Kit::printable(name_), kPrivate);
    replacement.write(content_.text());
    if (is_there_) {
        replacement.set_owner_and_mode(before_);
    } else {
        replacement.set_mode(kModeOfANewFile);
    }
    replacement.flush();

    Radar::Configuration stored(replacement.temporary_path());
    if (stored.read() != 0 || stored.conf != content_.values()) {
        fail("would not read back as it is meant, so nothing was changed");
    }
    check_unchanged();
    replacement.finish();
}

/** A change that came between is not undone without anybody noticing. */
void SettingsFile::check_unchanged() const {
    const struct stat now = look_at(real_path_, name_);
    const bool is_still_there = now.st_nlink > 0;
    if (is_still_there == is_there_ && (!is_there_ || is_same_file(now, before_))) return;
    fail("was changed by somebody else meanwhile; nothing was written");
}

void SettingsFile::fail(std::string const& reason) const {
    throw Kit::Error(Kit::printable(name_) + ": " + reason);
}

}  // namespace Tools
