#include "tests/support/host_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

#include "tests/support/private_paths.h"

namespace test_support {

namespace {

using Clock = std::chrono::steady_clock;

sockaddr_un address_of(std::string const& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

/** A socket that stands in for the service manager. */
Kit::FileDescriptor listen_for_notifications(std::string const& path) {
    Kit::FileDescriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    EXPECT_EQ(bind(fd.get(), reinterpret_cast<sockaddr const*>(&address), sizeof(address)), 0);
    return fd;
}

void redirect(int descriptor, std::string const& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) _exit(99);
}

std::string make_directory() {
    char name[] = "/tmp/host-XXXXXX";
    return mkdtemp(name) != nullptr ? name : "";
}

}  // namespace

HostProcess::HostProcess(std::vector<std::string> arguments, Environment const& environment,
                         std::vector<std::string> const& runner)
    : directory_(make_directory()),
      socket_(directory_ + "/targets.sock"),
      status_socket_(directory_ + "/status.sock"),
      notifications_(listen_for_notifications(directory_ + "/notify.sock")) {
    arguments.insert(arguments.begin(), PETRELRADARD_PROGRAM);
    const auto add_default = [&](std::string const& option, std::string const& value) {
        if (environment.count("RUNTIME_DIRECTORY") != 0) return;
        for (std::string const& argument : arguments) {
            if (argument == option) return;
        }
        arguments.insert(arguments.end(), {option, value});
    };
    add_default("--socket", socket_);
    add_default("--status-socket", status_socket_);
    arguments.insert(arguments.begin(), runner.begin(), runner.end());
    pid_ = fork();
    if (pid_ == 0) run_program(arguments, environment);
}

HostProcess::~HostProcess() {
    if (has_ended()) return;
    kill(pid_, SIGKILL);
    wait();
}

void HostProcess::run_program(std::vector<std::string> const& arguments,
                              Environment const& environment) const {
    redirect(STDOUT_FILENO, directory_ + "/out");
    redirect(STDERR_FILENO, directory_ + "/err");
    setenv("NOTIFY_SOCKET", (directory_ + "/notify.sock").c_str(), 1);
    for (auto const& [name, value] : environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> words;
    for (std::string const& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(99);
}

void HostProcess::await_ready() {
    EXPECT_NE(await_notification("READY=1"), "") << errors();
}

std::string HostProcess::await_notification(std::string const& text,
                                            std::chrono::milliseconds patience) {
    for (const auto deadline = Clock::now() + patience; Clock::now() < deadline;) {
        pollfd wait = {notifications_.get(), POLLIN, 0};
        if (poll(&wait, 1, 20) == 0) {
            if (has_ended()) return "";
            continue;
        }
        char message[1024];
        const ssize_t size = recv(notifications_.get(), message, sizeof(message), 0);
        const std::string received(message, size > 0 ? static_cast<size_t>(size) : 0);
        if (received.find(text) != std::string::npos) return received;
    }
    return "";
}

void HostProcess::signal(int number) const {
    kill(pid_, number);
}

bool HostProcess::has_ended() {
    if (exit_status_ >= 0) return true;
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) != pid_) return false;
    exit_status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

int HostProcess::wait() {
    if (!test_support::eventually([this] { return has_ended(); })) {
        ADD_FAILURE() << "the service does not end: " << errors();
        kill(pid_, SIGKILL);
        EXPECT_TRUE(test_support::eventually([this] { return has_ended(); }));
    }
    return exit_status_;
}

int HostProcess::stop(int number) {
    signal(number);
    return wait();
}

std::string HostProcess::output() const {
    return test_support::read_file(directory_ + "/out");
}

std::string HostProcess::errors() const {
    return test_support::read_file(directory_ + "/err");
}

std::vector<std::string> HostProcess::complaints() const {
    std::vector<std::string> lines;
    std::istringstream text(errors());
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line[0] != '[') lines.push_back(line);
    }
    return lines;
}

nlohmann::json HostProcess::status() const {
    return nlohmann::json::parse(read_to_end(connect_to(status_socket_)), nullptr, false);
}

Kit::FileDescriptor connect_to(std::string const& path) {
    Kit::FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    const int result =
        connect(fd.get(), reinterpret_cast<sockaddr const*>(&address), sizeof(address));
    EXPECT_EQ(result, 0) << path;
    return fd;
}

std::string read_to_end(Kit::FileDescriptor const& stream) {
    std::string text;
    for (;;) {
        pollfd wait = {stream.get(), POLLIN, 0};
        const int patience_ms =
            static_cast<int>(std::chrono::milliseconds(test_support::kPatience).count());
        EXPECT_EQ(poll(&wait, 1, patience_ms), 1) << "nothing to read";
        char bytes[4096];
        const ssize_t size = wait.revents != 0 ? read(stream.get(), bytes, sizeof(bytes)) : 0;
        if (size <= 0) return text;
        text.append(bytes, static_cast<size_t>(size));
    }
}

}  // namespace test_support
