// What docs/stream-format.md shows is what happens.

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "socket/socket_buffer.h"
#include "tests/kit/stream/relay_fixture.h"
#include "tests/support/page.h"

namespace {

std::string code_block(std::string const& kind) {
    return test_support::code_block("stream-format.md", kind);
}

std::string example_bytes() {
    return test_support::bytes_of_dump(code_block("hex"), 30);
}

/** The frame that the page describes, as the library sends it. */
std::string sent_bytes() {
    Radar::SocketBuffer buffer(2);
    RO::TargetData* target = buffer.add_targets();
    target->set_rcs(-3.5F);
    target->set_r(2.25F);
    target->set_rdot(-0.5F);
    target->set_theta(0.125F);
    target->set_snr(20.0F);
    target = buffer.add_targets();
    target->set_r(10.0F);
    target->set_rdot(-0.0F);
    target->set_options(300);

    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    buffer.set_fd(1, ends[0]);
    buffer.send(1561758000123456ULL);
    std::string bytes(1000, '\0');
    bytes.resize(static_cast<size_t>(recv(ends[1], bytes.data(), bytes.size(), 0)));
    std::string more(1000, '\0');
    for (;;) {
        const ssize_t size = recv(ends[1], more.data(), more.size(), MSG_DONTWAIT);
        if (size <= 0) break;
        bytes.append(more, 0, static_cast<size_t>(size));
    }
    close(ends[1]);
    return bytes;
}

TEST(StreamFormatPageTest, TheExampleIsWhatTheLibrarySends) {
    EXPECT_EQ(example_bytes(), sent_bytes());
}

class StreamFormatReaderTest : public stream_test::RelayTest {
protected:
    void SetUp() override {
        RelayTest::SetUp();
        if (IsSkipped()) return;
        if (std::system("python3 -c 'import sys; sys.exit(sys.version_info < (3, 8))'") != 0) {
            GTEST_SKIP() << "needs Python 3.8 or newer";
        }
        start();
    }

    /** What the reader of the page prints for what `publish_frames` publishes. */
    template <typename Publish>
    std::string output_of_reader(Publish publish_frames) {
        test_support::write_file("/tmp/reader.py", code_block("python"));
        FILE* const reader = popen("python3 /tmp/reader.py /tmp/radar.sock 2>&1", "r");
        EXPECT_TRUE(test_support::eventually([&] { return !relay->counters().clients.empty(); }));
        publish_frames();
        relay->stop(std::chrono::seconds(30));
        std::string output;
        std::array<char, 256> line;
        while (std::fgets(line.data(), static_cast<int>(line.size()), reader) != nullptr) {
            output += line.data();
        }
        EXPECT_EQ(pclose(reader), 0);
        return output;
    }
};

TEST_F(StreamFormatReaderTest, TheReaderPrintsTheExample) {
    EXPECT_EQ(output_of_reader([&] { relay->publish(example_bytes()); }), code_block("text"));
}

TEST_F(StreamFormatReaderTest, TheReaderSkipsWhatItDoesNotKnow) {
    const std::string unknown("\x48\x96\x01\x51xxxxxxxx\x5A\x03yyy\x65zzzz\x82\x01\x01!\x10\x07",
                              28);
    EXPECT_EQ(output_of_reader([&] { relay->publish(Kit::stream_frame(unknown)); }), "frame 7\n");
}

}  // namespace
