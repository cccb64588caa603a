#include "chip/keeper.h"

#include <dirent.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>

#include "kit/base/errno_text.h"
#include "kit/base/whole_number.h"

namespace Chip {

namespace {

using Clock = std::chrono::steady_clock;

/** What a signal or the end of the waiting time came to; `number` is 0 for the latter. */
struct Wakeup {
    int number = 0;
    int code = 0;
};

Wakeup wait_for_signal(std::optional<Clock::time_point> deadline) {
    const sigset_t signals = watched_signals();
    siginfo_t info = {};
    int number = -1;
    if (deadline) {
        const auto left = std::max(*deadline - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec limit = {
            static_cast<time_t>(seconds.count()),
            static_cast<long>(std::chrono::nanoseconds(left - seconds).count())};
        number = sigtimedwait(&signals, &info, &limit);
    } else {
        number = sigwaitinfo(&signals, &info);
    }
    return number < 0 ? Wakeup{} : Wakeup{number, info.si_code};
}

/** The parent of a process, from the fourth field of its line; the second may hold anything. */
pid_t parent_of(std::string const& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t name_end = line.rfind(')');
    constexpr size_t kStateSize = 4;  // ") S ", the end of the name and the state
    pid_t parent = -1;
    if (name_end == std::string::npos || line.size() < name_end + kStateSize) return parent;
    std::from_chars(line.data() + name_end + kStateSize, line.data() + line.size(), parent);
    return parent;
}

/** Signals the children that are not in `told`, and adds them there. */
void signal_children(int signal, std::set<pid_t>& told) {
    DIR* processes = opendir("/proc");
    if (processes == nullptr) return;
    while (dirent const* entry = readdir(processes)) {
        const std::string name = entry->d_name;
        const std::optional<uint64_t> number = Kit::whole_number(name);
        if (!number || parent_of(name) != getpid()) continue;
        const auto child = static_cast<pid_t>(*number);
        if (told.insert(child).second) kill(child, signal);
    }
    closedir(processes);
}

/** Takes the children that have ended; returns whether any are left. */
bool reap(pid_t command, std::optional<int>& command_status) {
    int wait_status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(-1, &wait_status, WNOHANG)) > 0) {
        if (ended == command) command_status = exit_status(wait_status);
    }
    return ended == 0;
}

[[noreturn]] void run(std::vector<std::string> const& arguments, sigset_t const& original,
                      pid_t keeper) {
    // Should somebody kill the keeper, the command at least hears of it.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != keeper) _exit(128 + SIGTERM);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string const& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    sigprocmask(SIG_SETMASK, &original, nullptr);
    execvp(pointers[0], pointers.data());
    const int error = errno;
    std::fprintf(stderr, "petrelradar-chip: cannot run %s: %s\n", pointers[0],
                 Kit::errno_text(error).c_str());
    _exit(error == ENOENT ? kNotFound : kCannotRun);
}

/** Waits for the command, passing signals on; ends it when `parent` is gone. */
int wait_for(pid_t command, pid_t parent, std::chrono::milliseconds grace) {
    std::optional<int> status;
    std::optional<Clock::time_point> deadline;
    while (!status) {
        if (!deadline && getppid() != parent) {
            kill(command, SIGTERM);
            deadline = Clock::now() + grace;
        }
        const Wakeup wakeup = wait_for_signal(deadline);
        reap(command, status);
        if (status) break;
        if (deadline && Clock::now() >= *deadline) {
            kill(command, SIGKILL);
            deadline = Clock::now() + grace;
        }
        const bool pass_on = wakeup.number > 0 && wakeup.number != SIGCHLD && getppid() == parent;
        if (pass_on && sent_by_program(wakeup.code)) kill(command, wakeup.number);
    }
    return *status;
}

/** Ends what is left. Children of those that go become the keeper's own, and go next. */
void end_descendants(pid_t command, std::chrono::milliseconds grace) {
    std::optional<int> ignored;
    const auto deadline = Clock::now() + grace;
    std::set<pid_t> terminated;
    std::set<pid_t> killed;
    // Anew every so often, for those that have become children since.
    constexpr std::chrono::milliseconds kRound{20};
    while (reap(command, ignored)) {
        signal_children(SIGTERM, terminated);
        if (Clock::now() >= deadline) signal_children(SIGKILL, killed);
        wait_for_signal(Clock::now() + kRound);
    }
}

}  // namespace

sigset_t watched_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
        sigaddset(&signals, signal);
    return signals;
}

bool sent_by_program(int code) {
    return code != SI_KERNEL;
}

int exit_status(int wait_status) {
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

int keep(std::vector<std::string> const& arguments, sigset_t const& original, pid_t parent,
         std::chrono::milliseconds grace) noexcept {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    // After this a parent that is gone already shows in getppid(), a later end in the signal.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const pid_t keeper = getpid();
    const pid_t command = fork();
    if (command == 0) run(arguments, original, keeper);
    if (command < 0) {
        std::fprintf(stderr, "petrelradar-chip: no process: %s\n", Kit::errno_text(errno).c_str());
        return kCannotRun;
    }
    const int status = wait_for(command, parent, grace);
    end_descendants(command, grace);
    return status;
}

}  // namespace Chip
