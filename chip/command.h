#pragma once

#include <sys/types.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace Chip {

/**
 * A command that runs beside this program, with a keeper process between the two. However this
 * program ends, the keeper sees to it that the command and all that it started end as well: with
 * SIGTERM, and with SIGKILL for what is still there 5 s later. What the command leaves behind when
 * it ends by itself is ended likewise.
 *
 * One thread at a time, and the one that constructed it must live as long as the program.
 */
class Command {
public:
    /**
     * Starts `arguments`, a program and its arguments, found as a shell finds it. The calling
     * thread has watched_signals() blocked; the command starts with the mask `original`.
     *
     * @param close_fds descriptors that neither the keeper nor the command may hold.
     * @throws Kit::Error when no process can be made.
     */
    Command(std::vector<std::string> const& arguments, sigset_t const& original,
            std::vector<int> const& close_fds);

    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    /** Passes a signal on to the command. Nothing happens when it has ended. */
    void send(int signal) const;

    /**
     * The exit status of the command, 128 and the signal's number when a signal ended it; nothing
     * while it runs. Does not wait.
     */
    std::optional<int> status();

private:
    pid_t keeper_ = -1;
    std::optional<int> status_;
};

}  // namespace Chip
