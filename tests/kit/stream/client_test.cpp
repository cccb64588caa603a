#include "kit/stream/client.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "kit/base/input_error.h"
#include "kit/stream/listening_socket.h"
#include "tests/support/private_paths.h"
#include "tests/support/stream_frames.h"
#include "tests/support/system_calls.h"

namespace {

using std::chrono::milliseconds;
using test_support::stream_frame;
using test_support::stream_frames;
using Result = Kit::StreamClient::Result;

/** A client at one end of a pair of sockets, the test at the other. */
class StreamClientTest : public testing::Test {
protected:
    StreamClientTest() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        client = std::make_unique<Kit::StreamClient>(ends[0]);
        service = ends[1];
    }
    ~StreamClientTest() override { hang_up(); }

    void send(std::string const& bytes) const {
        ASSERT_EQ(write(service, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    void hang_up() {
        if (service >= 0) close(service);
        service = -1;
    }

    Result next(int timeout_ms = 5000) { return client->next(received, milliseconds(timeout_ms)); }

    std::unique_ptr<Kit::StreamClient> client;
    Kit::StreamFrame received;
    int service = -1;
};

TEST_F(StreamClientTest, AFrameIsReturnedDecodedAndAsItWasSent) {
    send(stream_frame(7));
    ASSERT_EQ(next(), Result::kFrame);
    EXPECT_EQ(received.objects.timestamp(), 7U);
    EXPECT_EQ(received.objects.targets_size(), 2);
    EXPECT_EQ(received.payload, test_support::frame(7, 2));
}

TEST_F(StreamClientTest, FramesThatArriveTogetherAreReturnedOneByOne) {
    send(stream_frames(1, 2));
    ASSERT_EQ(next(), Result::kFrame);
    ASSERT_EQ(next(0), Result::kFrame);
    EXPECT_EQ(received.objects.timestamp(), 2U);
    EXPECT_EQ(client->bytes(), stream_frames(1, 2).size());
}

TEST_F(StreamClientTest, AFrameThatIsNotWholeInTimeIsATimeout) {
    send(stream_frame(1).substr(0, 20));
    EXPECT_EQ(next(1), Result::kTimeout);
    send(stream_frame(1).substr(20));
    EXPECT_EQ(next(), Result::kFrame);
}

TEST_F(StreamClientTest, WithoutTimeOnlyAFrameThatHasArrivedIsReturned) {
    EXPECT_EQ(next(0), Result::kTimeout);
    send(stream_frame(1));
    EXPECT_EQ(next(0), Result::kFrame);
}

TEST_F(StreamClientTest, ANegativeTimeWaitsForTheFrame) {
    std::thread later([this] {
        std::this_thread::sleep_for(milliseconds(5));
        send(stream_frame(1));
    });
    EXPECT_EQ(next(-1), Result::kFrame);
    later.join();
}

TEST_F(StreamClientTest, ASignalEndsTheWait) {
    test_support::SystemCalls system_calls;
    system_calls.poll = test_support::fails_with(EINTR);
    EXPECT_EQ(next(-1), Result::kTimeout);
}

TEST_F(StreamClientTest, TheEndBetweenTwoFramesIsTheEnd) {
    send(stream_frame(1));
    hang_up();
    ASSERT_EQ(next(), Result::kFrame);
    EXPECT_EQ(next(), Result::kEnd);
    EXPECT_EQ(next(), Result::kEnd);
}

TEST_F(StreamClientTest, TheEndInsideAFrameIsATruncation) {
    send(stream_frame(1) + stream_frame(2).substr(0, 13));
    hang_up();
    ASSERT_EQ(next(), Result::kFrame);
    EXPECT_EQ(next(), Result::kTruncated);
    EXPECT_EQ(client->problem(), "ended 13 bytes into a frame");
}

TEST_F(StreamClientTest, ForeignBytesAreDistinguishedFromTheEnd) {
    send(stream_frame(1) + "not a radar");
    ASSERT_EQ(next(), Result::kFrame);
    EXPECT_EQ(next(), Result::kForeign);
    EXPECT_EQ(client->problem(), "at byte " + std::to_string(stream_frame(1).size()) +
                                     ": 6e 6f 74 20 in place of the magic 02 71 bb 01");
}

TEST_F(StreamClientTest, TheStreamGoesOnAfterAPayloadThatDoesNotDecode) {
    send(Kit::stream_frame("\x1A\x7F") + stream_frame(2));
    EXPECT_EQ(next(), Result::kUndecodable);
    EXPECT_EQ(client->problem(), "frame 1, 2 bytes, does not decode");
    EXPECT_EQ(received.payload, "\x1A\x7F");
    EXPECT_EQ(next(), Result::kFrame);
}

TEST_F(StreamClientTest, AReadThatFailsIsReported) {
    test_support::SystemCalls system_calls;
    system_calls.read = test_support::fails_with(EIO);
    send(stream_frame(1));
    EXPECT_EQ(next(), Result::kFailed);
    EXPECT_EQ(client->problem(), "Input/output error");
}

TEST_F(StreamClientTest, AReadThatIsInterruptedIsTriedAgain) {
    test_support::SystemCalls system_calls;
    bool interrupted = false;
    system_calls.read = [&](int fd, void* bytes, size_t size) -> ssize_t {
        if (std::exchange(interrupted, true)) return test_support::real_read(fd, bytes, size);
        errno = EINTR;
        return -1;
    };
    send(stream_frame(1));
    EXPECT_EQ(next(), Result::kFrame);
}

class StreamClientConnectionTest : public test_support::PrivatePathsTest {
protected:
    static std::string failure_at(std::string const& path) {
        try {
            const Kit::StreamClient client(path);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "none";
    }
};

TEST_F(StreamClientConnectionTest, AClientConnectsToAListeningSocket) {
    const Kit::ListeningSocket socket("/tmp/radar.sock");
    EXPECT_EQ(failure_at("/tmp/radar.sock"), "none");
}

TEST_F(StreamClientConnectionTest, AMissingSocketIsAnError) {
    EXPECT_EQ(failure_at("/tmp/none.sock"),
              "/tmp/none.sock: cannot connect: No such file or directory");
}

TEST_F(StreamClientConnectionTest, ASocketWithoutAServiceIsAnError) {
    test_support::write_file("/tmp/plain", "");
    EXPECT_EQ(failure_at("/tmp/plain"), "/tmp/plain: cannot connect: Connection refused");
}

TEST_F(StreamClientConnectionTest, APathThatIsTooLongIsAnError) {
    const std::string path = "/tmp/" + std::string(103, 'x');
    EXPECT_EQ(failure_at(path), path + ": too long for a socket path, which has at most 107 bytes");
}

TEST_F(StreamClientConnectionTest, AnEmptyPathIsAnError) {
    EXPECT_EQ(failure_at(""), "the socket path is empty");
}

}  // namespace
