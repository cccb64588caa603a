#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <memory>

#include "kit/base/error.h"
#include "socket/radar_socket.h"
#include "socket/socket_buffer.h"
#include "tests/kit/stream/relay_fixture.h"
#include "tests/support/system_calls.h"

namespace {

using stream_test::numbers;
using test_support::eventually;
using test_support::stream_frame;
using test_support::stream_frames;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

/** A relay that reads what the test writes to a socket pair. */
class RelaySourceTest : public stream_test::RelayTest {
protected:
    void SetUp() override {
        RelayTest::SetUp();
        if (IsSkipped()) return;
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        writing = ends[0];
        reading = ends[1];
    }

    void TearDown() override {
        if (writing >= 0) close(writing);
        if (reading >= 0) close(reading);
    }

    void start(size_t queue_frames = 64) {
        RelayTest::start(queue_frames);
        relay->relay_from(reading);
    }

    void write(std::string const& bytes) const {
        ASSERT_EQ(::write(writing, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    void end_stream() {
        close(writing);
        writing = -1;
    }

    /** Waits for the fault. */
    std::string fault() const {
        EXPECT_TRUE(eventually([this] { return !relay->counters().source_fault.empty(); }));
        return relay->counters().source_fault;
    }

    int writing = -1;
    int reading = -1;
};

TEST_F(RelaySourceTest, FramesOfTheLibraryReachAClient) {
    RelayTest::start();
    const Radar::RadarSocket socket;
    relay->relay_from(socket.external());
    const Client client = connect();
    Radar::SocketBuffer buffer(8);
    buffer.set_fd(1, dup(socket.internal()));
    for (uint64_t timestamp = 1; timestamp <= 20; ++timestamp) {
        buffer.add_targets()->set_r(2.5F);
        buffer.send(timestamp);
    }
    EXPECT_EQ(receive(client, 20), numbers(1, 20));
}

TEST_F(RelaySourceTest, FramesThatComeAtOnceAreDeliveredBeforeTheirBytesFillAQueue) {
    Kit::RelayOptions options{kPath};
    options.queue_bytes = stream_frame(1).size();
    relay = std::make_unique<Kit::Relay>(options);
    relay->relay_from(reading);
    const Client client = connect();
    write(stream_frames(1, 20));
    EXPECT_EQ(receive(client, 20), numbers(1, 20));
}

TEST_F(RelaySourceTest, FramesAreDeliveredByteForByte) {
    start();
    const Client client = connect();
    write(stream_frame(1, 40));
    Kit::StreamFrame received;
    ASSERT_EQ(client->next(received, 30s), Result::kFrame);
    EXPECT_EQ(received.payload, test_support::frame(1, 40));
}

TEST_F(RelaySourceTest, AFrameInPiecesIsPublishedWhole) {
    start();
    const Client client = connect();
    for (const char byte : stream_frames(1, 2)) write(std::string(1, byte));
    EXPECT_EQ(receive(client, 2), numbers(1, 2));
}

TEST_F(RelaySourceTest, ABurstOfMoreFramesThanTheQueueHoldsArrivesWhole) {
    start(4);
    const Client client = connect();
    write(stream_frames(1, 200));
    EXPECT_EQ(receive(client, 200), numbers(1, 200));
    EXPECT_EQ(relay->counters().frames_dropped, 0U);
}

TEST_F(RelaySourceTest, AClientThatDoesNotReadDoesNotStopTheWriter) {
    start(4);
    const Client client = connect();
    const std::string large = stream_frame(1, 2000);
    for (int i = 0; i < 200; ++i) write(large);  // blocks for ever when nobody reads
    EXPECT_TRUE(eventually([&] { return relay->counters().frames == 200; }));
    EXPECT_GT(relay->counters().frames_dropped, 0U);
}

TEST_F(RelaySourceTest, SeveralStreamsAreRelayedAtOnce) {
    start();
    const Radar::RadarSocket socket;
    relay->relay_from(socket.external());
    const Client client = connect();
    write(stream_frame(1));
    EXPECT_EQ(receive(client, 1), numbers(1, 1));
    ASSERT_GT(::write(socket.internal(), stream_frame(2).data(), stream_frame(2).size()), 0);
    EXPECT_EQ(receive(client, 1), numbers(2, 2));
}

TEST_F(RelaySourceTest, TheDescriptorStaysTheCallersAndAsItWas) {
    start();
    ASSERT_TRUE(eventually([&] { return (fcntl(reading, F_GETFL) & O_NONBLOCK) != 0; }));
    relay->stop(0ms);
    EXPECT_EQ(fcntl(reading, F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(RelaySourceTest, ClosingTheDescriptorDoesNotEndTheRelaying) {
    start();
    const Client client = connect();
    close(reading);
    reading = -1;
    write(stream_frame(1));
    EXPECT_EQ(receive(client, 1), numbers(1, 1));
}

TEST_F(RelaySourceTest, StopPublishesWhatWasWritten) {
    start();
    const Client client = connect();
    write(stream_frames(1, 100));
    relay->stop(30s);
    EXPECT_EQ(receive(client, 100), numbers(1, 100));
}

TEST_F(RelaySourceTest, TheEndBetweenTwoFramesIsNoFault) {
    start();
    write(stream_frames(1, 3));
    end_stream();
    ASSERT_TRUE(eventually([&] { return relay->counters().frames == 3; }));
    relay->stop(0ms);
    EXPECT_EQ(relay->counters().source_fault, "");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RelaySourceTest, AnEndInsideAFrameIsAFault) {
    start();
    write(stream_frame(1) + stream_frame(2).substr(0, 11));
    end_stream();
    EXPECT_EQ(fault(), "ended 11 bytes into a frame");
    EXPECT_EQ(relay->counters().frames, 1U);
    EXPECT_THAT(log(), ElementsAre("/tmp/radar.sock: the stream to relay is damaged: "
                                   "ended 11 bytes into a frame\n"));
}

TEST_F(RelaySourceTest, ForeignBytesAreAFaultAndReachNoClient) {
    start();
    const Client client = connect();
    write(stream_frame(1) + "GET / HTTP/1.1\r\n" + stream_frame(2));
    EXPECT_EQ(fault(), "at byte " + std::to_string(stream_frame(1).size()) +
                           ": 47 45 54 20 in place of the magic 02 71 bb 01");
    relay->stop(30s);
    EXPECT_EQ(receive(client, 2), numbers(1, 1));
    EXPECT_EQ(next(client), Result::kEnd);
}

TEST_F(RelaySourceTest, AfterForeignBytesTheWriterIsNotStopped) {
    start();
    const std::string foreign(10000, 'x');
    for (int i = 0; i < 200; ++i) write(foreign);  // blocks for ever when nobody reads
    EXPECT_NE(fault(), "");
}

TEST_F(RelaySourceTest, AfterForeignBytesTheRelayServesOn) {
    start();
    const Client client = connect();
    write("foreign");
    fault();
    publish(7, 7);
    EXPECT_EQ(receive(client, 1), numbers(7, 7));
}

TEST_F(RelaySourceTest, ADescriptorThatCannotBeReadIsAFault) {
    RelayTest::start();
    const int directory = open("/tmp", O_RDONLY | O_DIRECTORY);
    relay->relay_from(directory);
    EXPECT_EQ(fault(), "Is a directory");
    close(directory);
}

/** A relay that cannot do everything with the descriptor it reads from. */
class RelaySourceFaultTest : public RelaySourceTest {
protected:
    void TearDown() override {
        relay.reset();  // its thread uses the doubles
        RelaySourceTest::TearDown();
    }

    /** The error of relaying from `fd`. */
    std::string error_of(int fd) const {
        try {
            relay->relay_from(fd);
        } catch (Kit::Error const& error) {
            return error.what();
        }
        return "none";
    }

    /** Makes fcntl() fail when it is called with `command`. */
    void fail_fcntl(int command) {
        system_calls.fcntl = [command](int fd, int asked, long argument) {
            if (asked != command) return test_support::real_fcntl(fd, asked, argument);
            errno = EIO;
            return -1;
        };
    }

    std::string failure_to_relay(std::string const& reason) const {
        return "Failed to relay from descriptor " + std::to_string(reading) + ": " + reason;
    }

    test_support::SystemCalls system_calls;
};

TEST_F(RelaySourceFaultTest, ADescriptorThatIsNotOpenIsAnError) {
    RelayTest::start();
    EXPECT_EQ(error_of(-1), "Failed to relay from descriptor -1: Bad file descriptor");
}

TEST_F(RelaySourceFaultTest, ADescriptorWhoseModeIsUnknownIsAnError) {
    fail_fcntl(F_GETFL);
    RelayTest::start();
    EXPECT_EQ(error_of(reading), failure_to_relay("Input/output error"));
}

TEST_F(RelaySourceFaultTest, ADescriptorThatCannotBeWatchedIsAnError) {
    // The relay's thread asks until the fixture stops it, after this function.
    const auto full = std::make_shared<std::atomic<bool>>(false);
    system_calls.epoll_ctl = [full](int epoll, int operation, int fd, epoll_event* event) {
        if (!*full) return test_support::real_epoll_ctl(epoll, operation, fd, event);
        errno = ENOSPC;
        return -1;
    };
    RelayTest::start();
    *full = true;
    EXPECT_EQ(error_of(reading), failure_to_relay("No space left on device"));
    *full = false;
    EXPECT_EQ(error_of(reading), "none");
    write(stream_frame(1));
    EXPECT_TRUE(eventually([&] { return relay->counters().frames == 1; }));
}

TEST_F(RelaySourceFaultTest, ADescriptorThatStaysBlockingIsAFaultAndNotRead) {
    system_calls.ioctl = test_support::fails_with(EIO);
    start();
    EXPECT_EQ(fault(), "Input/output error");
    write(stream_frame(1));
    relay->stop(0ms);
    EXPECT_EQ(relay->counters().frames, 0U);
}

TEST_F(RelaySourceFaultTest, AModeThatCannotBeRestoredIsLogged) {
    fail_fcntl(F_SETFL);
    start();
    write(stream_frame(1));
    ASSERT_TRUE(eventually([&] { return relay->counters().frames == 1; }));
    relay->stop(0ms);
    EXPECT_THAT(log(), ElementsAre("Failed to restore the blocking mode of descriptor " +
                                   std::to_string(reading) + ": Input/output error\n"));
}

}  // namespace
