#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <limits>
#include <memory>
#include <sstream>
#include <thread>

#include "lib/hex.h"
#include "socket/radar_socket.h"
#include "socket/socket_buffer.h"
#include "support/private_paths.h"

namespace {

using Radar::RadarSocket;
using Radar::SocketBuffer;
using test_support::hex;

/** Everything that arrives at a descriptor until its peer closes. */
std::string read_all(int fd) {
    std::string content;
    char piece[512];
    for (ssize_t size = 0; (size = read(fd, piece, sizeof(piece))) > 0;) {
        content.append(piece, static_cast<std::size_t>(size));
    }
    return content;
}

/** What a consumer reads: the frames of a stream, each refilled into a buffer. */
class StreamReader {
public:
    explicit StreamReader(std::string const& stream) : stream_(stream) {}

    /** Whether one more frame could be read into `frame`; false at the end of the stream. */
    bool next(SocketBuffer& frame) {
        uint32_t header[2] = {};
        if (stream_.size() < position_ + sizeof(header)) return false;
        std::memcpy(header, stream_.data() + position_, sizeof(header));
        const std::size_t begin = position_ + sizeof(header);
        if (header[0] != 29061378 || stream_.size() < begin + header[1]) return false;
        position_ = begin + header[1];
        return frame.set_data(stream_.data() + begin, header[1]);
    }

    bool at_end() const { return position_ == stream_.size(); }

private:
    std::string stream_;
    std::size_t position_ = 0;
};

class SocketBufferStreamTest : public testing::Test {
protected:
    SocketBufferStreamTest() : buffer(2000) { std::signal(SIGPIPE, SIG_IGN); }

    /** Registers the socket's internal end, as a duplicate that the buffer owns. */
    void connect(int key, RadarSocket const& joined) { buffer.set_fd(key, dup(joined.internal())); }

    /** Closes the consumer's end; its number stays in use, for the socket to close. */
    static void close_peer(RadarSocket const& joined) { dup2(STDERR_FILENO, joined.external()); }

    /** The stream that the consumer of a socket reads until the producer's end is closed. */
    static std::string stream_of(std::unique_ptr<RadarSocket>& joined) {
        const int reader = dup(joined->external());
        joined.reset();
        std::string stream = read_all(reader);
        close(reader);
        return stream;
    }

    SocketBuffer buffer;
    std::unique_ptr<RadarSocket> socket = std::make_unique<RadarSocket>();
    std::unique_ptr<RadarSocket> other = std::make_unique<RadarSocket>();
};

TEST_F(SocketBufferStreamTest, AConsumerReadsWholeFramesFromItsSocket) {
    connect(1, *socket);
    buffer.add_targets()->set_r(1.5F);
    buffer.send(7);
    buffer.send(8);
    buffer.remove_fd(1);
    StreamReader reader(stream_of(socket));
    ASSERT_TRUE(reader.next(buffer));
    EXPECT_EQ(buffer.timestamp(), 7U);
    EXPECT_EQ(buffer[0].r(), 1.5F);
    ASSERT_TRUE(reader.next(buffer));
    EXPECT_EQ(buffer.timestamp(), 8U);
    EXPECT_TRUE(reader.at_end());
}

TEST_F(SocketBufferStreamTest, AConsumerWhosePeerHasClosedIsDroppedAndTheOthersGetTheFrame) {
    const int registered = dup(socket->internal());
    buffer.set_fd(1, registered);
    connect(2, *other);
    close_peer(*socket);
    buffer.send();
    EXPECT_EQ(fcntl(registered, F_GETFD), -1) << "the descriptor is closed";
    buffer.remove_fd(2);
    EXPECT_EQ(hex(stream_of(other)), "02 71 BB 01 05 00 00 00 08 82 E2 ED 0D");
}

volatile std::sig_atomic_t broken_pipes = 0;

TEST_F(SocketBufferStreamTest, AConsumerWhosePeerHasClosedRaisesSigpipe) {
    broken_pipes = 0;
    std::signal(SIGPIPE, [](int) { broken_pipes = broken_pipes + 1; });
    connect(1, *socket);
    close_peer(*socket);
    buffer.send();
    EXPECT_EQ(broken_pipes, 1) << "once: the consumer is dropped at the first write";
}

TEST_F(SocketBufferStreamTest, AConsumerThatIsBehindGetsEveryByteOnceItReadsAgain) {
    connect(1, *socket);
    for (uint32_t i = 0; i < 2000; ++i) {
        RO::TargetData* target = buffer.add_targets();
        target->set_options(i);
        target->set_r(static_cast<float>(i));
        target->set_theta(0.5F);
    }
    const std::string encoding = buffer.data();
    std::string stream;
    std::thread consumer([&] { stream = read_all(socket->external()); });
    // More than a socket holds, so that the producer has to wait for the consumer.
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(buffer.set_data(encoding));
        buffer.send();
    }
    shutdown(socket->internal(), SHUT_WR);
    consumer.join();
    EXPECT_EQ(stream.size(), 100 * (8 + encoding.size()));
    StreamReader reader(stream);
    while (reader.next(buffer)) EXPECT_EQ(buffer.data(), encoding);
    EXPECT_TRUE(reader.at_end());
}

TEST_F(SocketBufferStreamTest, ARegisteredDescriptorThatWasClosedBeforeIsDropped) {
    const int fd = dup(socket->internal());
    buffer.set_fd(5, fd);
    buffer.set_fd(5, fd);
    buffer.send();
    EXPECT_EQ(hex(stream_of(socket)), "");
}

/** The frames of the capture, in order. */
void send_captured_frames(SocketBuffer& buffer) {
    buffer.send(0);

    RO::TargetData* near = buffer.add_targets();
    near->set_rcs(-4.5F);
    near->set_r(12.25F);
    near->set_rdot(-1.5F);
    near->set_theta(0.125F);
    near->set_options(3);
    near->set_snr(18.75F);
    RO::TargetData* standing = buffer.add_targets();
    standing->set_rcs(1);
    standing->set_r(40.5F);
    standing->set_rdot(-0.0F);
    standing->set_theta(-0.5F);
    standing->set_snr(9.5F);
    buffer.send(1747301407042999);

    buffer.add_targets();
    RO::TargetData* odd = buffer.add_targets();
    odd->set_rcs(std::numeric_limits<float>::quiet_NaN());
    odd->set_r(std::numeric_limits<float>::infinity());
    odd->set_rdot(-std::numeric_limits<float>::infinity());
    odd->set_options(0xFFFFFFFF);
    odd->set_snr(std::numeric_limits<float>::denorm_min());
    buffer.send(std::numeric_limits<unsigned long long>::max());
}

/** A stream that was put together from the wire format by hand, not by this library. */
std::string captured_stream() {
    return test_support::read_file(PETRELRADAR_SOURCE_DIR "/tests/data/target_stream.bin");
}

TEST_F(SocketBufferStreamTest, TheCaptureIsReproducedByteForByte) {
    connect(1, *socket);
    send_captured_frames(buffer);
    buffer.remove_fd(1);
    EXPECT_EQ(hex(stream_of(socket)), hex(captured_stream()));
}

TEST_F(SocketBufferStreamTest, TheCaptureIsReadBackFrameByFrame) {
    StreamReader reader(captured_stream());
    std::vector<std::pair<unsigned long long, int>> frames;
    while (reader.next(buffer)) frames.emplace_back(buffer.timestamp(), buffer.size());
    EXPECT_TRUE(reader.at_end());
    EXPECT_THAT(frames, testing::ElementsAre(std::pair(0ULL, 0), std::pair(1747301407042999ULL, 2),
                                             std::pair(0xFFFFFFFFFFFFFFFFULL, 2)));
}

TEST_F(SocketBufferStreamTest, TheCapturesTargetsHaveTheirValues) {
    StreamReader reader(captured_stream());
    ASSERT_TRUE(reader.next(buffer) && reader.next(buffer));
    std::ostringstream os;
    buffer << os;
    EXPECT_EQ(os.str(),
              "magic: 29061378\ntimestamp: 1747301407042999\n"
              "targets {\n  rcs: -4.5\n  r: 12.25\n  rdot: -1.5\n  theta: 0.125\n  options: 3\n"
              "  snr: 18.75\n}\n"
              "targets {\n  rcs: 1\n  r: 40.5\n  theta: -0.5\n  snr: 9.5\n}\n");
}

TEST_F(SocketBufferStreamTest, TheCaptureIsWrittenAgainAsItWasRead) {
    StreamReader reader(captured_stream());
    connect(1, *socket);
    while (reader.next(buffer)) buffer.send();
    buffer.remove_fd(1);
    EXPECT_EQ(hex(stream_of(socket)), hex(captured_stream()));
}

}  // namespace
