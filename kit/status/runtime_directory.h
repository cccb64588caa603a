#pragma once

#include <string>

namespace Kit {

/**
 * Returns the directory in which a service keeps its sockets while it runs: $RUNTIME_DIRECTORY (the
 * first entry) when a service manager has made one, else "petrelradar" in $XDG_RUNTIME_DIR, else
 * "/run/petrelradar" for root and "/tmp/petrelradar-<uid>" for any other user. Creates nothing.
 */
std::string runtime_directory();

/**
 * Makes sure that `directory` exists and belongs to this user alone: creates it with mode 0700,
 * not its parents, when it is missing.
 *
 * @throws Error when it cannot be created, is no directory or belongs to another user.
 */
void make_runtime_directory(std::string const& directory);

/** Where a service sends its target stream in `directory`. */
std::string stream_socket_path(std::string const& directory);

/** Where a service answers with its status in `directory`. */
std::string status_socket_path(std::string const& directory);

}  // namespace Kit
