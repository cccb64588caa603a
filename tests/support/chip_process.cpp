#include "tests/support/chip_process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace chip_test {

namespace {

constexpr int kPatienceMilliseconds = 30000;

/** A status of the test's own, when the program could not even be started as asked. */
constexpr int kNotStarted = 125;

/** Reads what there is; closes the descriptor at the end of the stream. */
void take(Kit::FileDescriptor& fd, std::string& text) {
    std::array<char, 4096> buffer;
    const ssize_t size = read(fd.get(), buffer.data(), buffer.size());
    // A terminal whose last program is gone answers EIO.
    if (size <= 0) {
        fd.reset();
        return;
    }
    text.append(buffer.data(), static_cast<size_t>(size));
}

}  // namespace

Process::Process(std::vector<std::string> const& arguments, Surroundings const& with) {
    if (with.terminal) {
        start_with_terminal(arguments, with);
    } else {
        start_with_pipes(arguments, with);
    }
}

Process::~Process() {
    if (status_) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void Process::start_with_pipes(std::vector<std::string> const& arguments,
                               Surroundings const& with) {
    int output[2] = {-1, -1};
    int errors[2] = {-1, -1};
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    output_fd_ = Kit::FileDescriptor(output[0]);
    errors_fd_ = Kit::FileDescriptor(errors[0]);
    const Kit::FileDescriptor output_end(output[1]);
    const Kit::FileDescriptor errors_end(errors[1]);
    pid_ = fork();
    if (pid_ == 0) run(arguments, with, output_end.get(), errors_end.get());
}

void Process::start_with_terminal(std::vector<std::string> const& arguments,
                                  Surroundings const& with) {
    int terminal = -1;
    pid_ = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid_ == 0) run(arguments, with, STDOUT_FILENO, STDERR_FILENO);
    output_fd_ = Kit::FileDescriptor(terminal);
}

void Process::run(std::vector<std::string> const& arguments, Surroundings const& with, int output,
                  int errors) const {
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    if (with.user) {
        const uid_t id = *with.user;
        if (setgroups(0, nullptr) != 0 || setgid(id) != 0 || setuid(id) != 0) _exit(kNotStarted);
    }
    std::vector<char*> pointers;
    for (std::string const& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    execvp(pointers[0], pointers.data());
    _exit(kNotStarted);
}

void Process::signal(int number) const {
    kill(pid_, number);
}

void Process::type(std::string const& keys) const {
    if (write(output_fd_.get(), keys.data(), keys.size()) < 0) throw std::runtime_error("no keys");
}

bool Process::await_output(std::string const& text) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMilliseconds);
    while (output_.find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline || !read_more()) return false;
    }
    return true;
}

void Process::await_silence() {
    while (read_more()) {
    }
}

int Process::wait() {
    if (status_) return *status_;
    await_silence();
    int status = 0;
    waitpid(pid_, &status, 0);
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return *status_;
}

bool Process::read_more() {
    pollfd waits[] = {{output_fd_.get(), POLLIN, 0}, {errors_fd_.get(), POLLIN, 0}};
    if (output_fd_.get() < 0 && errors_fd_.get() < 0) return false;
    const int ready = poll(waits, 2, kPatienceMilliseconds);
    if (ready < 0) return errno == EINTR;
    if (ready == 0) {
        kill(pid_, SIGKILL);
        throw std::runtime_error("the program is stuck; it printed: " + output_ + errors_);
    }
    if (waits[0].revents != 0) take(output_fd_, output_);
    if (waits[1].revents != 0) take(errors_fd_, errors_);
    return true;
}

Ended run(std::vector<std::string> const& arguments, Surroundings const& with) {
    Process process(arguments, with);
    const int status = process.wait();
    return {status, process.output(), process.errors()};
}

std::vector<std::string> chip_with(std::vector<std::string> const& command,
                                   std::vector<std::string> const& options) {
    std::vector<std::string> arguments = {PETRELRADAR_CHIP_PROGRAM};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back("--");
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
}

std::vector<std::string> client(std::vector<std::string> const& steps) {
    std::vector<std::string> arguments = {CHIP_CLIENT_PROGRAM};
    arguments.insert(arguments.end(), steps.begin(), steps.end());
    return arguments;
}

std::string client_text(std::vector<std::string> const& steps) {
    std::string text;
    for (std::string const& argument : client(steps)) text += "'" + argument + "' ";
    return text;
}

std::string chip_problem() {
    constexpr int kUnavailable = 69;
    const Ended ended = run(chip_with({"true"}));
    return ended.status == kUnavailable ? ended.errors : "";
}

bool await_end_of(pid_t pid) {
    constexpr std::chrono::milliseconds kPause(10);
    for (int waited = 0; waited < kPatienceMilliseconds; waited += 10) {
        if (kill(pid, 0) != 0 && errno == ESRCH) return true;
        std::this_thread::sleep_for(kPause);
    }
    return false;
}

}  // namespace chip_test
