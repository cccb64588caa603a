#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kit/base/file_descriptor.h"
#include "tests/support/eventually.h"

namespace test_support {

/**
 * A running petrelradard, in the private paths of the test. It has sockets of its own in /tmp and
 * is told to notify this object. Killed, if it still runs, when this object goes.
 */
class HostProcess {
public:
    using Environment = std::map<std::string, std::string>;

    /** Starts the program with these arguments and those for the sockets, `runner` in front. */
    explicit HostProcess(std::vector<std::string> arguments, Environment const& environment = {},
                         std::vector<std::string> const& runner = {});
    ~HostProcess();
    HostProcess(HostProcess const&) = delete;
    HostProcess& operator=(HostProcess const&) = delete;

    /** Waits until the service says that it is ready; fails the test when it ends before. */
    void await_ready();

    /** Waits for the next message to the service manager that holds `text`; empty when none comes.
     */
    std::string await_notification(std::string const& text,
                                   std::chrono::milliseconds patience = test_support::kPatience);

    /** Sends a signal. */
    void signal(int number) const;

    /** Waits for the end: the exit status, or 128 and the number of the signal that ended it. */
    int wait();

    /** signal(), then wait(). */
    int stop(int number);

    /** What the program wrote so far. */
    std::string output() const;
    std::string errors() const;
    /** errors() without the log's lines, which begin with a level: "[1] ". */
    std::vector<std::string> complaints() const;

    /** The document that the status socket answers with. */
    nlohmann::json status() const;

    /** status(), again and again until `condition` holds for it. */
    template <typename Condition>
    nlohmann::json await_status(Condition condition) const;

    std::string const& socket() const { return socket_; }
    std::string const& status_socket() const { return status_socket_; }
    pid_t pid() const { return pid_; }

private:
    void run_program(std::vector<std::string> const& arguments,
                     Environment const& environment) const;
    bool has_ended();

    std::string directory_;
    std::string socket_;
    std::string status_socket_;
    Kit::FileDescriptor notifications_;
    pid_t pid_ = -1;
    int exit_status_ = -1;
};

/** Connects to a UNIX stream socket. */
Kit::FileDescriptor connect_to(std::string const& path);

/** Reads to the end of the stream; fails the test when that does not come. */
std::string read_to_end(Kit::FileDescriptor const& stream);

template <typename Condition>
nlohmann::json HostProcess::await_status(Condition condition) const {
    nlohmann::json document;
    EXPECT_TRUE(test_support::eventually([&] {
        document = status();
        return condition(document);
    })) << document.dump(2);
    return document;
}

/** A 64-bit number of a status document. */
inline uint64_t number(nlohmann::json const& text) {
    return std::stoull(text.get<std::string>());
}

}  // namespace test_support
