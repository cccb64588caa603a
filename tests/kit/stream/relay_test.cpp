#include "kit/stream/relay.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "kit/base/error.h"
#include "tests/kit/stream/relay_fixture.h"

namespace {

using stream_test::numbers;
using test_support::eventually;
using test_support::stream_frame;
using test_support::stream_frames;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

/** Targets of a frame that is too large for a socket's buffer to hold many. */
constexpr int kLarge = 2000;

class RelayTest : public stream_test::RelayTest {};

TEST_F(RelayTest, AClientGetsEveryFrameInOrder) {
    start();
    const Client client = connect();
    publish(1, 50);
    EXPECT_EQ(receive(client, 50), numbers(1, 50));
}

TEST_F(RelayTest, AClientBeginsWithTheFirstFrameAfterItWasAccepted) {
    start();
    publish(1, 5);
    const Client client = connect();
    publish(6, 7);
    EXPECT_EQ(receive(client, 2), numbers(6, 7));
}

TEST_F(RelayTest, FramesAreDeliveredByteForByte) {
    start();
    const Client client = connect();
    relay->publish(Kit::stream_frame("\x1A\x7F not even protobuf"));
    Kit::StreamFrame received;
    EXPECT_EQ(client->next(received, 30s), Result::kUndecodable);
    EXPECT_EQ(received.payload, "\x1A\x7F not even protobuf");
}

TEST_F(RelayTest, EveryClientGetsEveryFrame) {
    start();
    const Client first = connect();
    const Client second = connect();
    publish(1, 10);
    EXPECT_EQ(receive(first, 10), numbers(1, 10));
    EXPECT_EQ(receive(second, 10), numbers(1, 10));
}

TEST_F(RelayTest, FramesAreCountedAlthoughNobodyListens) {
    start();
    publish(1, 3);
    EXPECT_EQ(relay->counters().frames, 3U);
    EXPECT_EQ(relay->counters().bytes, stream_frames(1, 3).size());
    EXPECT_EQ(relay->counters().frames_dropped, 0U);
}

TEST_F(RelayTest, WhatAClientGotIsCounted) {
    start();
    const Client client = connect();
    publish(1, 3);
    receive(client, 3);
    ASSERT_TRUE(eventually([&] { return only_client().frames_sent == 3; }));
    EXPECT_EQ(only_client().id, 1U);
    EXPECT_EQ(only_client().bytes_sent, stream_frames(1, 3).size());
    EXPECT_EQ(only_client().queued, 0U);
}

TEST_F(RelayTest, SomethingElseThanAFrameIsNotPublished) {
    start();
    const Client client = connect();
    EXPECT_THROW(relay->publish(stream_frame(1) + stream_frame(2)), std::invalid_argument);
    publish(3, 3);
    EXPECT_EQ(receive(client, 1), numbers(3, 3));
}

TEST_F(RelayTest, FramesFromSeveralThreadsArriveWhole) {
    start(1000);
    const Client client = connect();
    std::thread other([this] { publish(1001, 1200); });
    publish(1, 200);
    other.join();
    EXPECT_THAT(receive(client, 400), testing::UnorderedElementsAreArray([] {
                    auto all = numbers(1, 200);
                    for (const uint64_t number : numbers(1001, 1200)) all.push_back(number);
                    return all;
                }()));
}

TEST_F(RelayTest, AClientThatReadsTooLateGetsTheRecentFramesAndTheCount) {
    start(4);
    const Client client = connect();
    publish(1, 100, kLarge);
    EXPECT_TRUE(eventually([&] { return only_client().queued <= 5; }));
    relay->publish(stream_frame(101, kLarge));
    const uint64_t dropped = only_client().frames_dropped;
    EXPECT_GT(dropped, 50U);
    const auto received = receive(client, 101 - dropped);
    EXPECT_TRUE(std::is_sorted(received.begin(), received.end()));
    EXPECT_EQ(received.size(), 101 - dropped);
    EXPECT_EQ(received.back(), 101U);
    EXPECT_EQ(relay->counters().frames_dropped, dropped);
}

TEST_F(RelayTest, TheQueueOfAClientThatDoesNotReadIsBounded) {
    start(4);
    const Client client = connect();
    for (uint64_t timestamp = 1; timestamp <= 200; ++timestamp) {
        publish(timestamp, timestamp, kLarge);
        // 4 frames that wait, and those that are being written at the moment
        ASSERT_LE(only_client().queued, 4U + 4U + 1U);
    }
}

TEST_F(RelayTest, TheBytesInTheQueueOfAClientThatDoesNotReadAreBounded) {
    Kit::RelayOptions options{kPath, 1000, kNever};
    options.queue_bytes = 4 * stream_frame(1, kLarge).size();
    relay = std::make_unique<Kit::Relay>(options);
    const Client client = connect();
    for (uint64_t timestamp = 1; timestamp <= 200; ++timestamp) {
        publish(timestamp, timestamp, kLarge);
        // 4 frames that wait, and the outgoing one with those that are being written at the moment
        ASSERT_LE(only_client().queued, 4U + 1U + 4U);
    }
}

TEST_F(RelayTest, AFrameAboveTheLimitOfBytesReachesItsClient) {
    Kit::RelayOptions options{kPath, 64, kNever};
    options.queue_bytes = 100;
    relay = std::make_unique<Kit::Relay>(options);
    const Client client = connect();
    publish(1, 1, 100 * kLarge);
    EXPECT_EQ(receive(client, 1), numbers(1, 1));
}

TEST_F(RelayTest, DroppedFramesStayCountedWhenTheirClientHasLeft) {
    start(1);
    Client client = connect();
    publish(1, 100, kLarge);
    const uint64_t dropped = relay->counters().frames_dropped;
    client.reset();
    ASSERT_TRUE(eventually_no_clients());
    EXPECT_GT(dropped, 0U);
    EXPECT_GE(relay->counters().frames_dropped, dropped);
}

TEST_F(RelayTest, ASecondRelayAtThePathIsRefused) {
    start();
    try {
        const Kit::Relay second(Kit::RelayOptions{kPath});
        FAIL() << "there are two";
    } catch (Kit::Error const& error) {
        EXPECT_STREQ(error.what(), "/tmp/radar.sock: already in use by a running service");
    }
}

TEST_F(RelayTest, AfterItsSocketWasDeletedNewClientsAreServedBesideThoseThatAreThere) {
    Kit::RelayOptions options{kPath, 64, kNever};
    options.check_socket_every = 5ms;
    relay = std::make_unique<Kit::Relay>(options);
    const Client before = connect();
    unlink(kPath);
    ASSERT_TRUE(eventually([] { return !log().empty(); }));
    const Client after = connect();
    publish(1, 20);
    EXPECT_EQ(receive(before, 20), numbers(1, 20));
    EXPECT_EQ(receive(after, 20), numbers(1, 20));
}

TEST_F(RelayTest, SignalsOfTheProcessAreNotTheRelaysThread) {
    sigset_t user_signal;
    sigemptyset(&user_signal);
    sigaddset(&user_signal, SIGUSR1);
    start();
    pthread_sigmask(SIG_BLOCK, &user_signal, nullptr);
    kill(getpid(), SIGUSR1);  // would end the process in a thread that does not block it
    const timespec limit = {10, 0};
    EXPECT_EQ(sigtimedwait(&user_signal, nullptr, &limit), SIGUSR1);
}

TEST_F(RelayTest, StopDeliversWhatIsQueued) {
    start();
    const Client client = connect();
    publish(1, 64, kLarge);
    std::thread stopping([this] { relay->stop(30s); });
    EXPECT_EQ(receive(client, 65), numbers(1, 64));
    EXPECT_EQ(next(client), Result::kEnd);
    stopping.join();
    EXPECT_EQ(relay->counters().frames_dropped, 0U);
}

TEST_F(RelayTest, StopReturnsAtOnceWhenNothingIsQueued) {
    start();
    const Client client = connect();
    const auto before = std::chrono::steady_clock::now();
    relay->stop(std::chrono::hours(1));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::minutes(1));
    EXPECT_EQ(next(client), Result::kEnd);
}

TEST_F(RelayTest, StopEndsAfterItsGraceAndSaysWhatWasNotDelivered) {
    start(4);
    const Client client = connect();
    publish(1, 16, test_support::kMoreThanASocketHolds);
    relay->stop(5ms);
    ASSERT_EQ(log().size(), 1U);
    EXPECT_THAT(log().front(), testing::MatchesRegex("/tmp/radar.sock: [45] frames were not "
                                                     "delivered before the end\n"));
    EXPECT_GT(relay->counters().frames_dropped, 4U);
}

TEST_F(RelayTest, ADisconnectedClientHasWholeFramesAndThenAtMostAPartOfOne) {
    start(4);
    const Client client = connect();
    publish(1, 64, kLarge);
    relay->stop(0ms);
    const auto received = receive(client, 64);
    EXPECT_FALSE(received.empty());
    EXPECT_TRUE(std::is_sorted(received.begin(), received.end()));
    EXPECT_THAT(next(client), testing::AnyOf(Result::kEnd, Result::kTruncated));
}

TEST_F(RelayTest, StopRemovesTheSocket) {
    start();
    relay->stop(0ms);
    EXPECT_THAT(test_support::list_directory("/tmp"),
                testing::Not(testing::Contains("radar.sock")));
}

TEST_F(RelayTest, CountersStayAfterStop) {
    start();
    const Client client = connect();
    publish(1, 3);
    relay->stop(30s);
    EXPECT_EQ(relay->counters().frames, 3U);
    EXPECT_EQ(relay->counters().clients_accepted, 1U);
    EXPECT_THAT(relay->counters().clients, IsEmpty());
}

TEST_F(RelayTest, WhatIsPublishedAfterStopIsIgnored) {
    start();
    relay->stop(0ms);
    publish(1, 3);
    EXPECT_EQ(relay->counters().frames, 0U);
}

TEST_F(RelayTest, ASecondStopDoesNothing) {
    start();
    relay->stop(0ms);
    relay->stop(std::chrono::hours(1));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RelayTest, TheDestructorStops) {
    start();
    const Client client = connect();
    relay.reset();
    EXPECT_EQ(next(client), Result::kEnd);
    EXPECT_THAT(test_support::list_directory("/tmp"),
                testing::Not(testing::Contains("radar.sock")));
}

}  // namespace
