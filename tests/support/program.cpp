#include "tests/support/program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace tools_test {

namespace {

using Clock = std::chrono::steady_clock;

/** Longer than anything that a test waits for. */
constexpr std::chrono::seconds kPatience{30};

struct Pipe {
    int reading = -1;
    int writing = -1;
};

Pipe make_pipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return {ends[0], ends[1]};
}

/** A terminal: `reading` is the side of the person. */
Pipe make_terminal(int columns, int rows) {
    const int person = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (person < 0 || grantpt(person) != 0 || unlockpt(person) != 0) {
        throw std::runtime_error("no terminal");
    }
    const int program = ioctl(person, TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns),
                          0, 0};
    if (program < 0 || ioctl(person, TIOCSWINSZ, &size) != 0) {
        throw std::runtime_error("no terminal");
    }
    return {person, program};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

/** Appends what can be read; closes at the end. */
void read_into(int& fd, std::string& text) {
    char bytes[4096];
    const ssize_t size = read(fd, bytes, sizeof(bytes));
    if (size > 0) {
        text.append(bytes, static_cast<size_t>(size));
    } else {
        close(fd);  // the end; EIO for a terminal that the program has left
        fd = -1;
    }
}

}  // namespace

Program::Program(std::vector<std::string> const& arguments, Surroundings const& surroundings) {
    std::vector<std::string> words = {PETRELRADAR_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = surroundings.environment;  // the first of a name counts
    environment.insert(environment.end(), {"TERM=xterm", "PATH=/usr/bin:/bin"});
    for (char const* const sanitizer : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        char const* const options = getenv(sanitizer);
        if (options != nullptr) environment.push_back(std::string(sanitizer) + "=" + options);
    }
    const auto argv = pointers(words);
    const auto env = pointers(environment);
    const bool on_terminal = surroundings.columns > 0;
    const Pipe out =
        on_terminal ? make_terminal(surroundings.columns, surroundings.rows) : make_pipe();
    const Pipe err = make_pipe();

    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("no process");
    if (pid_ == 0) {
        setsid();
        const int null = open("/dev/null", O_RDWR);
        if (on_terminal) ioctl(out.writing, TIOCSCTTY, 0);
        dup2(on_terminal ? out.writing : null, STDIN_FILENO);
        dup2(out.writing, STDOUT_FILENO);
        dup2(surroundings.errors_on_terminal ? out.writing : err.writing, STDERR_FILENO);
        execve(PETRELRADAR_PROGRAM, argv.data(), env.data());
        _exit(127);
    }
    close(out.writing);
    close(err.writing);
    out_fd_ = out.reading;
    err_fd_ = err.reading;
}

Program::~Program() {
    stop_reading();
    if (err_fd_ >= 0) close(err_fd_);
    if (pid_ < 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Program::read_more(int timeout_ms) {
    pollfd waits[2] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}};
    if (poll(waits, 2, timeout_ms) <= 0) return false;
    if (waits[0].revents != 0) read_into(out_fd_, outcome_.out);
    if (waits[1].revents != 0) read_into(err_fd_, outcome_.err);
    return true;
}

template <typename Condition>
bool Program::wait_until(Condition condition) {
    const auto deadline = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() > deadline || (out_fd_ < 0 && err_fd_ < 0)) return false;
        read_more(100);
    }
    return true;
}

bool Program::prints(std::string const& text) {
    return wait_until([&] { return outcome_.out.find(text) != std::string::npos; });
}

bool Program::complains(std::string const& text) {
    return wait_until([&] { return outcome_.err.find(text) != std::string::npos; });
}

void Program::send_signal(int signal) const {
    kill(pid_, signal);
}

void Program::wait_until_stopped() const {
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOWAIT);
}

void Program::type(std::string const& keys) const {
    EXPECT_EQ(write(out_fd_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void Program::resize(int columns, int rows) const {
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns),
                          0, 0};
    ioctl(out_fd_, TIOCSWINSZ, &size);
}

void Program::stop_reading() {
    if (out_fd_ >= 0) close(out_fd_);
    out_fd_ = -1;
}

Outcome Program::finish() {
    EXPECT_TRUE(wait_until([&] { return out_fd_ < 0 && err_fd_ < 0; })) << "it does not end";
    if (out_fd_ >= 0 || err_fd_ >= 0) kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome_;
}

Outcome run(std::vector<std::string> const& arguments, Surroundings const& surroundings) {
    return Program(arguments, surroundings).finish();
}

}  // namespace tools_test
