#include "tests/support/process.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/support/eventually.h"

namespace test_support {

namespace {

/** The exit status of a program that could not be started as asked. */
constexpr int kNotStarted = 127;

/** The test's end of a stream, and the program's. */
struct Ends {
    Kit::FileDescriptor test;
    Kit::FileDescriptor program;
};

Ends make_pipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return {Kit::FileDescriptor(ends[0]), Kit::FileDescriptor(ends[1])};
}

Ends make_terminal(int columns, int rows) {
    Kit::FileDescriptor user(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!user.valid() || grantpt(user.get()) != 0 || unlockpt(user.get()) != 0) {
        throw std::runtime_error("no terminal");
    }
    Kit::FileDescriptor program(ioctl(user.get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns),
                          0, 0};
    if (!program.valid() || ioctl(user.get(), TIOCSWINSZ, &size) != 0) {
        throw std::runtime_error("no terminal");
    }
    return {std::move(user), std::move(program)};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

/** Appends what can be read; closes at the end. */
void read_into(Kit::FileDescriptor& fd, std::string& text) {
    char bytes[4096];
    const ssize_t size = read(fd.get(), bytes, sizeof(bytes));
    if (size > 0) {
        text.append(bytes, static_cast<size_t>(size));
    } else {
        fd.reset();  // the end; EIO for a terminal that the program has left
    }
}

bool become(uid_t user) {
    return setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0;
}

/** The test's own environment after `first`; of entries with the same name the first counts. */
std::vector<std::string> own_environment(std::vector<std::string> first) {
    for (char** entry = environ; *entry != nullptr; ++entry) first.emplace_back(*entry);
    return first;
}

std::vector<std::string> bare_environment(std::vector<std::string> first) {
    first.insert(first.end(), {"TERM=xterm", "PATH=/usr/bin:/bin"});
    for (char const* const sanitizer : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        char const* const options = getenv(sanitizer);
        if (options != nullptr) first.push_back(std::string(sanitizer) + "=" + options);
    }
    return first;
}

std::vector<std::string> program_with(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), PETRELRADAR_PROGRAM);
    return arguments;
}

}  // namespace

Process::Process(std::vector<std::string> const& words, Surroundings const& surroundings)
    : Process(words, own_environment(surroundings.environment), surroundings) {}

Process::Process(std::vector<std::string> words, std::vector<std::string> environment,
                 Surroundings const& surroundings) {
    const auto argv = pointers(words);
    const auto env = pointers(environment);
    const bool on_terminal = surroundings.columns > 0;
    Ends out = on_terminal ? make_terminal(surroundings.columns, surroundings.rows) : make_pipe();
    Ends err = make_pipe();

    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("no process");
    if (pid_ == 0) {
        setsid();
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        const int out_end = out.program.get();
        if (on_terminal) ioctl(out_end, TIOCSCTTY, 0);
        dup2(on_terminal ? out_end : null, STDIN_FILENO);
        dup2(out_end, STDOUT_FILENO);
        dup2(surroundings.errors_on_terminal ? out_end : err.program.get(), STDERR_FILENO);
        if (!surroundings.user || become(*surroundings.user)) {
            execvpe(argv[0], argv.data(), env.data());
        }
        _exit(kNotStarted);
    }
    out_ = std::move(out.test);
    err_ = std::move(err.test);
}

Process::~Process() {
    if (pid_ < 0) return;
    out_.reset();
    err_.reset();
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Process::read_more(std::chrono::milliseconds timeout) {
    pollfd waits[2] = {{out_.get(), POLLIN, 0}, {err_.get(), POLLIN, 0}};
    if (poll(waits, 2, static_cast<int>(timeout.count())) <= 0) return false;
    if (waits[0].revents != 0) read_into(out_, outcome_.out);
    if (waits[1].revents != 0) read_into(err_, outcome_.err);
    return true;
}

template <typename Condition>
bool Process::wait_until(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline || (!out_.valid() && !err_.valid())) {
            return false;
        }
        read_more(std::chrono::milliseconds(100));
    }
    return true;
}

bool Process::prints(std::string const& text) {
    return wait_until([&] { return outcome_.out.find(text) != std::string::npos; });
}

bool Process::complains(std::string const& text) {
    return wait_until([&] { return outcome_.err.find(text) != std::string::npos; });
}

void Process::send_signal(int signal) const {
    kill(pid_, signal);
}

void Process::wait_until_stopped() const {
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOWAIT);
}

void Process::type(std::string const& keys) const {
    EXPECT_EQ(write(out_.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void Process::resize(int columns, int rows) const {
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns),
                          0, 0};
    ioctl(out_.get(), TIOCSWINSZ, &size);
}

void Process::stop_reading() {
    out_.reset();
}

void Process::read_to_end() {
    while (out_.valid() || err_.valid()) {
        if (read_more(kPatience)) continue;
        ADD_FAILURE() << "the program is stuck; it printed: " << outcome_.out << outcome_.err;
        return;
    }
}

Outcome Process::finish() {
    read_to_end();
    if (pid_ < 0) return outcome_;
    if (out_.valid() || err_.valid()) kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome_;
}

Program::Program(std::vector<std::string> const& arguments, Surroundings const& surroundings)
    : Process(program_with(arguments), bare_environment(surroundings.environment), surroundings) {}

Outcome run(std::vector<std::string> const& arguments, Surroundings const& surroundings) {
    return Program(arguments, surroundings).finish();
}

Outcome run_process(std::vector<std::string> const& words, Surroundings const& surroundings) {
    return Process(words, surroundings).finish();
}

}  // namespace test_support
