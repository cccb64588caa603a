#pragma once

#include <sys/types.h>

#include <string>

namespace Service {

/** A directory that a recorder writes to. */
struct Storage {
    std::string directory;
    /** Whether a medium has to be mounted there: without one nothing is written beneath. */
    bool is_mount = false;
};

/** Whether a recorder can begin. */
struct StorageTrial {
    enum class Result {
        kUsable,
        /** Not now, but it can become usable: no medium is mounted, or it has no room. */
        kLater,
        kRefused
    };
    Result result = Result::kUsable;
    /** "/tmp: cannot be written to: Read-only file system"; empty when usable. */
    std::string reason;
};

/**
 * Writes to the directory to see whether it can be, since permissions alone do not tell of a
 * read-only medium. Leaves nothing there. May wait for the medium.
 */
StorageTrial try_storage(Storage const& storage);

/**
 * Why a file must not be begun in the directory at this moment, in one line without the directory:
 * it does not exist, or its medium is not mounted. Empty when nothing is known against it.
 */
std::string storage_defect(Storage const& storage);

/** The device that the directory is on; 0 when there is no directory. */
dev_t device_of(std::string const& directory);

/**
 * Makes sure that the directory, in which root's files are written by fixed names, is this user's
 * alone to write to: creates it when it is missing. Returns why it must not be used, in one line
 * with the directory; empty when it can be.
 */
std::string make_private_directory(std::string const& directory);

/**
 * Whether the names that a file begun in the next moments gets in `directory` are free, so that
 * neither a file of somebody else nor one begun in the same millisecond is in the way.
 */
bool is_name_free(std::string const& directory, std::string const& prefix);

}  // namespace Service
