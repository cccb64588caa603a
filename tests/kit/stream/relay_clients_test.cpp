// Clients that behave badly, and what the others notice of them.

#include <sys/socket.h>

#include <atomic>
#include <thread>

#include "tests/kit/stream/relay_fixture.h"

namespace {

using stream_test::numbers;
using test_support::eventually;
using test_support::kMoreThanASocketHolds;
using test_support::stream_frame;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

constexpr int kLarge = 2000;

class RelayClientsTest : public stream_test::RelayTest {
protected:
    /** Reads `size` bytes, fewer when no more are there. */
    static size_t read_some(Client const& client, size_t size) {
        std::string bytes(size, '\0');
        return static_cast<size_t>(
            std::max<ssize_t>(recv(client->fd(), bytes.data(), size, MSG_DONTWAIT), 0));
    }

    static void half_close(Client const& client) { shutdown(client->fd(), SHUT_WR); }
};

TEST_F(RelayClientsTest, AClientThatHasShutDownItsSendingSideGetsFrames) {
    start();
    const Client client = connect();
    half_close(client);
    publish(1, 20);
    EXPECT_EQ(receive(client, 20), numbers(1, 20));
}

TEST_F(RelayClientsTest, WhatAClientSendsIsReadAndDiscarded) {
    start();
    const Client client = connect();
    const std::string bytes(1 << 20, 'x');  // more than a socket holds
    EXPECT_EQ(send(client->fd(), bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
    publish(1, 5);
    EXPECT_EQ(receive(client, 5), numbers(1, 5));
}

TEST_F(RelayClientsTest, AClientThatHasClosedIsForgottenAlthoughNothingIsPublished) {
    start();
    connect().reset();
    EXPECT_TRUE(eventually_no_clients());
    EXPECT_EQ(relay->counters().clients_dropped_stuck, 0U);
}

TEST_F(RelayClientsTest, AHalfClosedClientThatClosesIsForgottenAlthoughNothingIsPublished) {
    start();
    Client client = connect();
    half_close(client);
    publish(1, 1);
    receive(client, 1);
    client.reset();
    EXPECT_TRUE(eventually_no_clients());
}

TEST_F(RelayClientsTest, AClientThatDiesInsideAFrameIsForgotten) {
    start();
    Client client = connect();
    publish(1, 2, kMoreThanASocketHolds);
    ASSERT_TRUE(eventually([&] { return read_some(client, 20) == 20; }));
    client.reset();
    EXPECT_TRUE(eventually_no_clients());
}

TEST_F(RelayClientsTest, AStuckClientIsDroppedWithALogLine) {
    start(4, 20ms);
    const Client client = connect();
    publish(1, 2, kMoreThanASocketHolds);
    EXPECT_TRUE(eventually_no_clients());
    EXPECT_EQ(relay->counters().clients_dropped_stuck, 1U);
    EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: client 1 received no frame for 20 ms; "
                                   "disconnected\n"));
}

TEST_F(RelayClientsTest, AClientThatReadsAByteNowAndThenIsStuck) {
    start(4, 20ms);
    const Client client = connect();
    publish(1, 2, kMoreThanASocketHolds);
    EXPECT_TRUE(eventually([&] {
        read_some(client, 1);
        return relay->counters().clients_dropped_stuck == 1;
    }));
}

TEST_F(RelayClientsTest, AClientForWhichNothingWaitsIsNotStuck) {
    start(4, 1ms);
    const Client client = connect();
    std::this_thread::sleep_for(20ms);
    publish(1, 1);
    EXPECT_EQ(receive(client, 1), numbers(1, 1));
    EXPECT_EQ(relay->counters().clients_dropped_stuck, 0U);
}

TEST_F(RelayClientsTest, WithoutALimitAClientIsNeverStuck) {
    start(4, 0ms);
    const Client client = connect();
    publish(1, 2, kMoreThanASocketHolds);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(relay->counters().clients.size(), 1U);
}

TEST_F(RelayClientsTest, AStuckClientDisturbsNobody) {
    start(64, 20ms);
    const Client stuck = connect();
    const Client client = connect();
    for (uint64_t timestamp = 1; relay->counters().clients_dropped_stuck == 0; ++timestamp) {
        publish(timestamp, timestamp, kLarge);
        ASSERT_EQ(receive(client, 1), numbers(timestamp, timestamp));
    }
}

/** Sixteen clients, eleven of which behave. */
class SixteenClientsTest : public RelayClientsTest {
protected:
    static constexpr size_t kBehaving = 11;
    static constexpr uint64_t kBurst = 32;
    static constexpr int kTargets = 64;

    /** One more client that reads all the time and keeps what it gets. */
    void add_reader(Client client) {
        readers.push_back(std::make_unique<Reader>());
        Reader& reader = *readers.back();
        reader.client = std::move(client);
        reader.thread = std::thread([&reader] {
            Kit::StreamFrame frame;
            while (reader.client->next(frame, 30s) == Result::kFrame) {
                reader.timestamps.push_back(frame.objects.timestamp());
                reader.last = frame.objects.timestamp();
            }
        });
    }

    /** Publishes a burst that fits the queues, and waits until the readers have it. */
    void publish_burst() {
        publish(published + 1, published + kBurst, kTargets);
        published += kBurst;
        for (auto const& reader : readers) {
            ASSERT_TRUE(eventually([&] { return reader->last == published; }));
        }
    }

    /** Connects and goes a hundred times, sometimes in the middle of a frame. */
    void reconnect_a_hundred_times() {
        for (reconnects = 0; reconnects < 100; ++reconnects) {
            const Client client = std::make_unique<Kit::StreamClient>(std::string(kPath));
            if (reconnects % 2 == 0) read_some(client, 20);
        }
    }

    void expect_everything_was_read() {
        relay->stop(0ms);
        for (auto const& reader : readers) {
            reader->thread.join();
            EXPECT_EQ(reader->timestamps, numbers(1, published));
        }
    }

    struct Reader {
        Client client;
        std::vector<uint64_t> timestamps;
        std::atomic<uint64_t> last{0};
        std::thread thread;
    };

    std::vector<std::unique_ptr<Reader>> readers;
    uint64_t published = 0;
    std::atomic<int> reconnects{0};
};

TEST_F(SixteenClientsTest, FiveThatMisbehaveAreNotNoticedByTheOthers) {
    start(64, 50ms);
    for (size_t i = 0; i < kBehaving; ++i) add_reader(connect());
    Client half_closed = connect();
    half_close(half_closed);
    add_reader(std::move(half_closed));
    const Client stopped = connect();
    const Client slow = connect();
    Client dying = connect();
    std::thread reconnecting([this] { reconnect_a_hundred_times(); });
    while (published < 20 * kBurst || reconnects < 100 ||
           relay->counters().clients_dropped_stuck < 2) {
        publish_burst();
        read_some(slow, 1);
        if (dying && read_some(dying, 20) == 20) dying.reset();
    }
    reconnecting.join();
    expect_everything_was_read();
    EXPECT_EQ(relay->counters().clients_accepted, 115U);
    const Kit::RelayCounters counters = relay->counters();
    EXPECT_EQ(counters.clients_dropped_stuck, 2U);
    // Those that were disconnected included, and none is left.
    EXPECT_EQ(counters.frames_offered, counters.frames_sent + counters.frames_dropped);
}

TEST_F(SixteenClientsTest, ClientsThatDoNotReadLoseFramesAndTheOthersNone) {
    start(64, kNever);
    const Client stopped = connect();
    for (size_t i = 0; i < 15; ++i) add_reader(connect());
    while (relay->counters().frames_dropped < 100) publish_burst();
    const Kit::RelayCounters counters = relay->counters();
    ASSERT_EQ(counters.clients.size(), 16U);
    EXPECT_EQ(counters.clients.front().frames_dropped, counters.frames_dropped);
    EXPECT_EQ(counters.clients.front().frames, published);
    uint64_t queued = 0;
    for (Kit::ClientCounters const& client : counters.clients) {
        EXPECT_EQ(client.frames, client.frames_sent + client.frames_dropped + client.queued);
        queued += client.queued;
    }
    EXPECT_EQ(counters.frames_offered, counters.frames_sent + counters.frames_dropped + queued);
    expect_everything_was_read();
}

}  // namespace
