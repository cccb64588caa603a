#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "kit/stream/listening_socket.h"

namespace test_support {

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
    int connections() const { return count_; }

private:
    void serve();

    Kit::ListeningSocket socket_;
    std::function<std::string(int)> answer_;
    std::atomic<int> count_{0};
    std::atomic<bool> ends_{false};
    std::thread thread_;
};

}  // namespace test_support
