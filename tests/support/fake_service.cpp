#include "tests/support/fake_service.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>
#include <utility>

namespace test_support {

namespace {

void send_all(int fd, std::string_view left) {
    while (!left.empty()) {
        const ssize_t size = send(fd, left.data(), left.size(), MSG_NOSIGNAL);
        if (size <= 0) return;  // the reader has gone
        left.remove_prefix(static_cast<size_t>(size));
    }
}

}  // namespace

FakeService::FakeService(std::string const& path, std::function<std::string(int)> answer)
    : socket_(path), answer_(std::move(answer)), thread_([this] { serve(); }) {}

FakeService::FakeService(std::string const& path, std::string const& document)
    : FakeService(path, [document](int) { return document; }) {}

FakeService::~FakeService() {
    ends_ = true;
    thread_.join();
}

void FakeService::serve() {
    constexpr int kTickMilliseconds = 5;
    while (!ends_) {
        pollfd wait = {socket_.fd(), POLLIN, 0};
        if (poll(&wait, 1, kTickMilliseconds) != 1) continue;
        const int connection = accept4(socket_.fd(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        const int number = ++count_;
        send_all(connection, answer_(number));
        close(connection);
    }
}

}  // namespace test_support
