// What a relay does when the system refuses it something.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>

#include "kit/base/error.h"
#include "tests/kit/stream/relay_fixture.h"
#include "tests/support/system_calls.h"

namespace {

using stream_test::numbers;
using test_support::eventually;
using testing::ElementsAre;
using namespace std::chrono_literals;

/** A relay whose system calls fail while `fails` is set. */
class RelayFaultTest : public stream_test::RelayTest {
protected:
    void TearDown() override { relay.reset(); }  // its thread uses the doubles

    /** Fails with `error` while a test wants it; then errno is set. */
    bool fails_now(int error) const {
        if (fails) errno = error;
        return fails;
    }

    /** A client that connects, whatever the relay does with it. */
    static Client connect_anyway() {
        return std::make_unique<Kit::StreamClient>(std::string(kPath));
    }

    /** Expects that a client was refused for `reason`, and that the next one is served. */
    void expect_one_client_refused(std::string const& reason) {
        fails = true;
        const Client refused = connect_anyway();
        EXPECT_EQ(next(refused), Result::kEnd);
        fails = false;
        const Client served = connect();
        publish(1, 5);
        EXPECT_EQ(receive(served, 5), numbers(1, 5));
        EXPECT_EQ(relay->counters().clients_accepted, 1U);
        EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: cannot serve a client: " + reason + "\n"));
    }

    std::atomic<bool> fails{false};
    test_support::SystemCalls system_calls;
};

TEST_F(RelayFaultTest, AClientThatCannotBeMadeNonBlockingIsDisconnected) {
    system_calls.ioctl = [this](int fd, unsigned long request, void* argument) {
        if (request == FIONBIO && fails_now(EIO)) return -1;
        return test_support::real_ioctl(fd, request, argument);
    };
    start();
    expect_one_client_refused("Input/output error");
}

TEST_F(RelayFaultTest, AClientThatCannotBeWatchedIsDisconnected) {
    system_calls.epoll_ctl = [this](int epoll, int operation, int fd, epoll_event* event) {
        if (operation == EPOLL_CTL_ADD && fails_now(ENOSPC)) return -1;
        return test_support::real_epoll_ctl(epoll, operation, fd, event);
    };
    start();
    expect_one_client_refused("No space left on device");
}

TEST_F(RelayFaultTest, ASocketThatCannotBeWatchedIsAnError) {
    system_calls.epoll_ctl = test_support::fails_with(ENOSPC);
    try {
        start();
        FAIL() << "it was served";
    } catch (Kit::Error const& error) {
        EXPECT_STREQ(error.what(), "/tmp/radar.sock: cannot listen: No space left on device");
    }
    EXPECT_THAT(test_support::list_directory("/tmp"),
                testing::Not(testing::Contains("radar.sock")));
}

TEST_F(RelayFaultTest, ASocketThatCannotBeListenedToAgainIsTriedAgain) {
    system_calls.fcntl = [this](int fd, int command, long argument) {
        if (command == F_DUPFD_CLOEXEC && fails_now(EMFILE)) return -1;
        return test_support::real_fcntl(fd, command, argument);
    };
    Kit::RelayOptions options{kPath, 64, kNever};
    options.check_socket_every = 5ms;
    relay = std::make_unique<Kit::Relay>(options);
    fails = true;
    unlink(kPath);
    ASSERT_TRUE(eventually([] { return log().size() == 2; }));
    fails = false;
    const Client client = connect();
    publish(1, 5);
    EXPECT_EQ(receive(client, 5), numbers(1, 5));
    EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: was deleted; listening there again\n",
                                   "/tmp/radar.sock: cannot accept a client: Too many open "
                                   "files; trying again\n"));
}

TEST_F(RelayFaultTest, DescriptorsAreGoneAlthoughClosingThemFails) {
    system_calls.close = [this](int fd) {
        test_support::real_close(fd);
        return fails_now(EIO) ? -1 : 0;
    };
    fails = true;
    start();
    const Client client = connect();
    publish(1, 5);
    EXPECT_EQ(receive(client, 5), numbers(1, 5));
    relay->stop(30s);
    EXPECT_EQ(next(client), Result::kEnd);
}

}  // namespace
