// Clients for which there is no room.

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "kit/base/error.h"
#include "kit/stream/unix_address.h"
#include "tests/kit/stream/relay_fixture.h"

namespace {

std::atomic<int> accepts{0};

}  // namespace

/** Counts how often the relay asks for a client. */
extern "C" int accept4(int fd, sockaddr* address, socklen_t* size, int flags) {
    ++accepts;
    static auto* const real =
        reinterpret_cast<int (*)(int, sockaddr*, socklen_t*, int)>(dlsym(RTLD_NEXT, "accept4"));
    return real(fd, address, size, flags);
}

namespace {

using stream_test::numbers;
using test_support::eventually;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

/** Takes all descriptors of the process but `spare` until it is destroyed. */
class NoDescriptors {
public:
    explicit NoDescriptors(rlim_t spare = 0) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int lowest = dup(0);
        close(lowest);
        const rlimit none = {static_cast<rlim_t>(lowest) + spare, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { give_back(); }
    NoDescriptors(NoDescriptors const&) = delete;
    NoDescriptors& operator=(NoDescriptors const&) = delete;

    void give_back() const { setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_ = {};
};

class RelayWithoutDescriptorsTest : public stream_test::RelayTest {
protected:
    void SetUp() override {
        RelayTest::SetUp();
        if (IsSkipped()) return;
        start();
        waiting = socket(AF_UNIX, SOCK_STREAM, 0);
    }

    void TearDown() override {
        if (waiting >= 0) close(waiting);
    }

    /** Connects a client for which the relay has no descriptor. */
    void connect_in_vain() const {
        ASSERT_TRUE(Kit::connect_to(waiting, Kit::UnixAddress(kPath)));
        ASSERT_TRUE(eventually([] { return !log().empty(); }));
    }

    int waiting = -1;
};

TEST_F(RelayWithoutDescriptorsTest, AClientWaitsUntilThereIsADescriptor) {
    const NoDescriptors taken;
    connect_in_vain();
    taken.give_back();
    EXPECT_TRUE(eventually([&] { return relay->counters().clients_accepted == 1; }));
    EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: cannot accept a client: Too many open files; "
                                   "trying again\n"));
}

TEST_F(RelayWithoutDescriptorsTest, TheRelayDoesNotSpin) {
    const NoDescriptors taken;
    connect_in_vain();
    const int before = accepts;
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(40ms);
    const int calls = accepts - before;
    EXPECT_LE(calls, 1 + (std::chrono::steady_clock::now() - begin) / 50ms);
}

TEST_F(RelayWithoutDescriptorsTest, ClientsThatAreThereAreServed) {
    const Client client = connect();
    const NoDescriptors taken;
    connect_in_vain();
    publish(1, 20);
    EXPECT_EQ(receive(client, 20), numbers(1, 20));
}

// It needs several descriptors, and has to report the want of each.
TEST_F(RelayWithoutDescriptorsTest, ARelayThatLacksOneIsAnError) {
    constexpr rlim_t kEnough = 20;
    rlim_t spare = 0;
    for (bool fails = true; fails && spare < kEnough; ++spare) {
        const NoDescriptors taken(spare);
        try {
            const Kit::Relay second(Kit::RelayOptions{"/tmp/second.sock"});
            fails = false;
        } catch (Kit::Error const& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("/tmp/second.sock: "));
            EXPECT_THAT(error.what(), testing::EndsWith("Too many open files"));
        }
    }
    EXPECT_GT(spare, 3U);
    EXPECT_LT(spare, kEnough);
}

/** A relay that has as many clients as it may have. */
class FullRelayTest : public stream_test::RelayTest {
protected:
    void SetUp() override {
        RelayTest::SetUp();
        if (IsSkipped()) return;
        Kit::RelayOptions options{kPath, 64, kNever};
        options.most_clients = 2;
        relay = std::make_unique<Kit::Relay>(options);
        first = connect();
        second = connect();
    }

    /** One more client, which the relay lets wait. */
    Client connect_in_vain() {
        auto client = std::make_unique<Kit::StreamClient>(std::string(kPath));
        EXPECT_TRUE(eventually([] { return !log().empty(); }));
        return client;
    }

    Client first;
    Client second;
};

TEST_F(FullRelayTest, OneMoreClientWaitsUntilAnotherLeaves) {
    const Client third = connect_in_vain();
    EXPECT_EQ(relay->counters().clients_accepted, 2U);
    first.reset();
    ASSERT_TRUE(eventually([&] { return relay->counters().clients_accepted == 3; }));
    publish(1, 20);
    EXPECT_EQ(receive(third, 20), numbers(1, 20));
}

TEST_F(FullRelayTest, SaysOnceThatAClientWaits) {
    const Client third = connect_in_vain();
    // Time for two more attempts.
    const auto later = std::chrono::steady_clock::now() + 110ms;
    ASSERT_TRUE(eventually([&] { return std::chrono::steady_clock::now() > later; }));
    EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: cannot accept a client: the limit of 2 "
                                   "clients is reached; trying again\n"));
}

TEST_F(FullRelayTest, ServesItsClientsWhileAnotherWaits) {
    const Client third = connect_in_vain();
    publish(1, 20);
    EXPECT_EQ(receive(first, 20), numbers(1, 20));
    EXPECT_EQ(receive(second, 20), numbers(1, 20));
}

TEST_F(FullRelayTest, IsSilentWhileNobodyWaits) {
    publish(1, 20);
    EXPECT_EQ(receive(second, 20), numbers(1, 20));
    EXPECT_THAT(log(), IsEmpty());
}

}  // namespace
