#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

namespace Chip {

/** Exit status of a command that was found but cannot be run, and of one that was not found. */
constexpr int kCannotRun = 126;
constexpr int kNotFound = 127;

/** The signals that end a program, which are passed on to the command, and SIGCHLD. */
sigset_t watched_signals();

/**
 * Whether a signal was sent by a program. A terminal sends its own to the whole foreground group,
 * so that the command has had those already.
 */
bool sent_by_program(int code);

/** The exit status that a shell gives for what waitpid() answered. */
int exit_status(int wait_status);

/**
 * The keeper process's work, from its start to its end: runs the command, passes signals on, and
 * ends everything that descends from it when the command has ended, or when `parent` is gone. To be
 * called with watched_signals() blocked, in a process of its own.
 *
 * @param arguments the program and its arguments.
 * @param original the signal mask that the program starts with.
 * @param parent the process whose end is the command's as well.
 * @param grace how long a process has between SIGTERM and SIGKILL.
 * @return the exit status: the command's, kNotFound or kCannotRun.
 */
int keep(std::vector<std::string> const& arguments, sigset_t const& original, pid_t parent,
         std::chrono::milliseconds grace) noexcept;

}  // namespace Chip
