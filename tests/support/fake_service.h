#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "kit/stream/listening_socket.h"

namespace tools_test {

/** Listens at a UNIX socket and answers every connection with what a test wants. */
class FakeService {
public:
    /** @param answer called with the connection's number, from 1 on; what it returns is sent. */
    FakeService(std::string const& path, std::function<std::string(int)> answer);
    FakeService(std::string const& path, std::string const& document);
    ~FakeService();
    FakeService(FakeService const&) = delete;
    FakeService& operator=(FakeService const&) = delete;

    /** How many connections there were. */
    int connections() const { return count; }

private:
    void serve();

    Kit::ListeningSocket socket;
    std::function<std::string(int)> answer;
    std::atomic<int> count{0};
    std::atomic<bool> ends{false};
    std::thread thread;
};

}  // namespace tools_test
