#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

namespace Chip {

/** The exit status that a shell gives for what waitpid() answered. */
int exit_status(int wait_status);

/**
 * The keeper process's work, from its start to its end: runs the command, passes signals on, and
 * ends everything that descends from it when the command has ended, or when `parent` is gone.
 * Returns the exit status.
 */
int keep(std::vector<std::string> const& arguments, sigset_t const& original,
         pid_t parent) noexcept;

}  // namespace Chip
