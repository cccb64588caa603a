#include "tools/settings/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "config/configuration.h"
#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "tools/cli/directory_of.h"
#include "tools/cli/message_text.h"
#include "tools/cli/text_file.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

std::string system_reason(std::string const& name, std::string const& what) {
    return printable(name) + ": " + what + Kit::errno_text(errno);
}

/** The file behind `path`, as far as there is one. */
std::string follow_links(std::string const& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return path;
    const std::string target = fs::canonical(path, error).string();
    if (!error) return target;
    throw Kit::InputError(printable(path) + ": a symbolic link that leads nowhere: " +
                          Kit::errno_text(error.value()));
}

struct stat look_at(std::string const& path, std::string const& name) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) return status;
    if (errno != ENOENT) throw Kit::InputError(system_reason(name, ""));
    return {};
}

/** A file beside another, which it replaces, or else is removed with the object. */
class Replacement {
public:
    Replacement(std::string path, std::string name)
        : path_(std::move(path)),
          name_(std::move(name)),
          trial_(directory_of(path_) + "/." + fs::path(path_).filename().string() + ".XXXXXX"),
          fd_(mkostemp(trial_.data(), O_CLOEXEC)) {
        if (fd_ < 0) {
            throw Kit::InputError(system_reason(name_, "no file can be made in its directory: "));
        }
    }
    ~Replacement() {
        if (!is_in_place_) unlink(trial_.c_str());
        close(fd_);
    }
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;

    std::string const& trial_path() const { return trial_; }

    void write(std::string_view left) const {
        while (!left.empty()) {
            const ssize_t size = ::write(fd_, left.data(), left.size());
            if (size < 0 && errno == EINTR) continue;
            check(size >= 0, "cannot be written: ");
            left.remove_prefix(static_cast<size_t>(size));
        }
    }

    void take_after(struct stat const& original) const {
        struct stat own = {};
        check(fstat(fd_, &own) == 0, "cannot be written: ");
        const bool is_same = own.st_uid == original.st_uid && own.st_gid == original.st_gid;
        check(is_same || fchown(fd_, original.st_uid, original.st_gid) == 0,
              "its owner cannot be kept: ");
        set_mode(original.st_mode & 07777);
    }

    void set_mode(mode_t mode) const { check(fchmod(fd_, mode) == 0, "its mode cannot be set: "); }

    void flush() const { check(fsync(fd_) == 0, "cannot be written: "); }

    void put_in_place() {
        check(rename(trial_.c_str(), path_.c_str()) == 0, "cannot be replaced: ");
        is_in_place_ = true;
        flush_directory();
        // Where the size is in the directory, as on vfat, the rename loses it once more.
        flush();
    }

private:
    void check(bool is_done, char const* what) const {
        if (!is_done) throw Kit::InputError(system_reason(name_, what));
    }

    /** Not every file system flushes directories; the file itself is flushed in any case. */
    void flush_directory() const {
        const int directory = open(directory_of(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (directory < 0) return;
        fsync(directory);
        close(directory);
    }

    std::string path_;
    std::string name_;  // for messages
    std::string trial_;
    int fd_;
    bool is_in_place_ = false;
};

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
    Replacement replacement(real_path_, name_);
    replacement.write(content_.text());
    if (is_there_) {
        replacement.take_after(before_);
    } else {
        replacement.set_mode(kModeOfANewFile);
    }
    replacement.flush();

    Radar::Configuration stored(replacement.trial_path());
    if (stored.read() != 0 || stored.conf != content_.values()) {
        fail("would not read back as it is meant, so nothing was changed");
    }
    check_unchanged();
    replacement.put_in_place();
}

/** A change that came between is not undone without anybody noticing. */
void SettingsFile::check_unchanged() const {
    const struct stat now = look_at(real_path_, name_);
    const bool is_still_there = now.st_nlink > 0;
    if (is_still_there == is_there_ && (!is_there_ || is_same_file(now, before_))) return;
    fail("was changed by somebody else meanwhile; nothing was written");
}

void SettingsFile::fail(std::string const& reason) const {
    throw Kit::InputError(printable(name_) + ": " + reason);
}

}  // namespace Tools
