#include "chip/command.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "chip/keeper.h"
#include "kit/base/errno_text.h"
#include "kit/base/error.h"

namespace Chip {

namespace {

/** Time to end in: a recorder may have to flush to a slow card. */
constexpr std::chrono::seconds kGrace(5);

}  // namespace

Command::Command(std::vector<std::string> const& arguments, sigset_t const& original,
                 std::vector<int> const& close_fds) {
    const pid_t parent = getpid();
    keeper_ = fork();
    if (keeper_ < 0) throw Kit::Error("no process: " + Kit::errno_text(errno));
    if (keeper_ > 0) return;
    for (const int fd : close_fds) close(fd);
    _exit(keep(arguments, original, parent, kGrace));
}

void Command::send(int signal) const {
    // Not after its end: the number may be another process's by then.
    if (!status_) kill(keeper_, signal);
}

std::optional<int> Command::status() {
    int wait_status = 0;
    if (!status_ && waitpid(keeper_, &wait_status, WNOHANG) == keeper_) {
        status_ = exit_status(wait_status);
    }
    return status_;
}

}  // namespace Chip
