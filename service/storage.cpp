#include "service/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "filewriter/timeval_printer.h"
#include "kit/base/errno_text.h"
#include "kit/base/file_descriptor.h"

namespace Service {

namespace {

/** The milliseconds that pass at most between a look at a name and its use. */
constexpr int kMillisecondsAhead = 3;

bool exists(std::string const& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

/** The medium's room can change: what is full now may have room later. */
bool is_full(int error) {
    return error == ENOSPC || error == EDQUOT;
}

}  // namespace

StorageTrial try_storage(Storage const& storage) {
    using Result = StorageTrial::Result;
    std::string const& directory = storage.directory;
    const std::string defect = storage_defect(storage);
    if (!defect.empty() && storage.is_mount) return {Result::kLater, directory + ": " + defect};
    std::string trial = directory + "/.petrelradard-XXXXXX";
    const Kit::FileDescriptor file(mkostemp(trial.data(), O_CLOEXEC));
    if (file.valid()) {
        unlink(trial.c_str());  // it was made this moment
        return {};
    }
    const int error = errno;
    if (is_full(error)) return {Result::kLater, directory + ": " + Kit::errno_text(error)};
    return {Result::kRefused, directory + ": cannot be written to: " + Kit::errno_text(error)};
}

std::string storage_defect(Storage const& storage) {
    struct stat status = {};
    if (stat(storage.directory.c_str(), &status) != 0) return Kit::errno_text(errno);
    if (!storage.is_mount) return "";
    struct stat parent = {};
    if (stat((storage.directory + "/..").c_str(), &parent) != 0) return Kit::errno_text(errno);
    if (status.st_dev != parent.st_dev || status.st_ino == parent.st_ino) return "";
    return "no medium is mounted there";
}

dev_t device_of(std::string const& directory) {
    struct stat status = {};
    return stat(directory.c_str(), &status) == 0 ? status.st_dev : 0;
}

std::string make_private_directory(std::string const& directory) {
    constexpr mode_t kMode = 0755;
    if (mkdir(directory.c_str(), kMode) == 0) return "";
    if (errno != EEXIST) return directory + ": " + Kit::errno_text(errno);
    struct stat status = {};
    if (lstat(directory.c_str(), &status) != 0) return directory + ": " + Kit::errno_text(errno);
    if (!S_ISDIR(status.st_mode)) return directory + ": not a directory";
    if (status.st_uid != geteuid()) return directory + ": belongs to another user";
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return directory + ": other users can write to it (chmod go-w mends that)";
    }
    return "";
}

bool is_name_free(std::string const& directory, std::string const& prefix) {
    timeval time = {};
    gettimeofday(&time, nullptr);
    for (int i = 0; i < kMillisecondsAhead; ++i) {
        std::ostringstream name;
        using Radar::operator<<;
        name << directory << "/" << prefix << "_" << time;
        if (exists(name.str()) || exists(name.str() + ".data")) return false;
        time.tv_usec += 1000;
        if (time.tv_usec >= 1000000) {
            time.tv_usec -= 1000000;
            ++time.tv_sec;
        }
    }
    return true;
}

}  // namespace Service
