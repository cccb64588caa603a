// The verb listen, where its output is no terminal.

#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

#include "kit/encoding/frame_magic.h"
#include "kit/stream/listening_socket.h"
#include "tests/tools/listen/fixture.h"

namespace {

using test_support::Outcome;
using test_support::Program;
using test_support::run;
using testing::HasSubstr;

class ListenTest : public tools_test::ListenTest {};

TEST_F(ListenTest, EveryFrameIsALine) {
    Program program({"listen", kSource, "--frames", "2"});
    wait_for_client();
    publish(1001);
    publish(1002, 7.0F, 3.0F);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "frame 0  timestamp 1001  1 target  nearest 2.50 m  fastest -0.75 m/s\n"
              "frame 1  timestamp 1002  1 target  nearest 7.00 m  fastest +3.00 m/s\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ListenTest, AFrameIsPrintedAtOnce) {
    Program program({"listen", kSource});
    wait_for_client();
    publish(1001);
    EXPECT_TRUE(program.prints("timestamp 1001"));
}

TEST_F(ListenTest, FramesArePrintedAsCsv) {
    Program program({"listen", kSource, "--format", "csv", "--frames", "1"});
    wait_for_client();
    publish(1001);
    EXPECT_EQ(program.finish().out,
              "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n"
              "0,1001,0,2.5,-0.75,0,0,0\n");
}

TEST_F(ListenTest, FramesArePrintedAsNdjson) {
    Program program({"listen", kSource, "--format", "ndjson", "--frames", "1"});
    wait_for_client();
    publish(1001);
    EXPECT_EQ(program.finish().out,
              "{\"magic\":29061378,\"timestamp\":\"1001\",\"targets\":[{\"rcs\":0,\"r\":2.5,"
              "\"rdot\":-0.75,\"theta\":0,\"options\":0,\"snr\":0}]}\n");
}

TEST_F(ListenTest, FramesArePrintedAsText) {
    Program program({"listen", kSource, "--format", "text", "--frames", "1"});
    wait_for_client();
    publish(1001);
    EXPECT_EQ(program.finish().out,
              "magic: 29061378\ntimestamp: 1001\ntargets {\n  r: 2.5\n  rdot: -0.75\n}\n");
}

TEST_F(ListenTest, WithoutASourceTheServiceOfTheMachineIsListenedTo) {
    Program program({"listen", "--frames", "1"}, {{"RUNTIME_DIRECTORY=/tmp"}});
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar listen: /tmp/targets.sock: cannot connect: No such file or directory\n");
}

TEST_F(ListenTest, AServiceThatIsNotThereIsAFailure) {
    const Outcome outcome = run({"listen", "unix:/tmp/none.sock"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "petrelradar listen: /tmp/none.sock: cannot connect: No such file or directory\n");
}

TEST_F(ListenTest, AFileIsNoLiveStream) {
    const Outcome outcome = run({"listen", "/tmp/file.data"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err,
                testing::StartsWith("petrelradar listen: SOURCE /tmp/file.data is not a "
                                    "live stream (expected unix:PATH)\n"));
}

TEST_F(ListenTest, TheEndOfTheServiceEndsItWhereThatIsWanted) {
    Program program({"listen", kSource, "--no-reconnect"});
    wait_for_client();
    publish(1001);
    stop_service();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "petrelradar listen: the stream ended after 1 frame\n");
}

TEST_F(ListenTest, AServiceThatRestartsIsListenedToAgain) {
    Program program({"listen", kSource, "--frames", "2"});
    wait_for_client();
    publish(1001);
    stop_service();
    ASSERT_TRUE(program.complains("the stream ended after 1 frame; waiting for the service\n"));
    start_service();
    wait_for_client();
    publish(1002);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("frame 1  timestamp 1002"));
    EXPECT_THAT(outcome.err, HasSubstr("petrelradar listen: connected again\n"));
}

class ListenSignalTest : public tools_test::ListenTest, public testing::WithParamInterface<int> {};

TEST_P(ListenSignalTest, ARequestToEndEndsItWell) {
    Program program({"listen", kSource});
    wait_for_client();
    publish(1001);
    ASSERT_TRUE(program.prints("timestamp 1001"));
    program.send_signal(GetParam());
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

INSTANTIATE_TEST_SUITE_P(, ListenSignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](auto const& tested) {
                             return std::string("Signal") + std::to_string(tested.param);
                         });

TEST_F(ListenTest, CtrlCEndsItWhileItWaitsForTheService) {
    Program program({"listen", kSource});
    wait_for_client();
    stop_service();
    ASSERT_TRUE(program.complains("waiting for the service"));
    program.send_signal(SIGINT);
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(ListenTest, AReaderThatHasGoneEndsItQuietlyAlthoughNothingComes) {
    Program program({"listen", kSource});
    wait_for_client();
    program.stop_reading();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ListenTest, APayloadThatDoesNotDecodeIsReportedAndCounted) {
    Program program({"listen", kSource, "--frames", "1"});
    wait_for_client();
    service->publish(Kit::stream_frame("\x1A\x7F"));
    publish(1001);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("timestamp 1001"));
    EXPECT_EQ(outcome.err,
              "petrelradar listen: frame 1, 2 bytes, does not decode\n"
              "petrelradar listen: 0 frames cut off, 1 frame that did not decode\n");
}

TEST_F(ListenTest, AFullDiskIsAFailure) {
    const std::string command =
        std::string(PETRELRADAR_PROGRAM) + " --help > /dev/full 2> /tmp/err";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    EXPECT_EQ(test_support::read_file("/tmp/err"),
              "petrelradar: standard output: No space left on device\n");
}

TEST_F(ListenTest, AClosedStandardOutputIsAFailure) {
    const std::string command =
        std::string(PETRELRADAR_PROGRAM) + " listen --format csv " + kSource + " >&- 2> /tmp/err";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    EXPECT_EQ(test_support::read_file("/tmp/err"),
              "petrelradar listen: standard output: Bad file descriptor\n");
}

/** A service that sends what the test wants. */
class ListenToBytesTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        socket = std::make_unique<Kit::ListeningSocket>("/tmp/radar.sock");
    }

    /** Sends these bytes to the program, then hangs up. */
    Outcome listen_to(std::string const& bytes, std::vector<std::string> const& options) const {
        std::vector<std::string> arguments = {"listen", "unix:/tmp/radar.sock"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Program program(arguments);
        int client = -1;
        do {
            client = accept4(socket->fd(), nullptr, nullptr, SOCK_CLOEXEC);
        } while (client < 0);
        EXPECT_EQ(send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
        close(client);
        return program.finish();
    }

    static std::string frame() {
        RO::RadarObjects objects;
        objects.set_magic(Kit::kFrameMagic);
        objects.set_timestamp(1001);
        return Kit::stream_frame(objects.SerializeAsString());
    }

    std::unique_ptr<Kit::ListeningSocket> socket;
};

TEST_F(ListenToBytesTest, AFrameThatIsCutIsReportedAndCounted) {
    const Outcome outcome = listen_to(frame() + frame().substr(0, 9), {"--no-reconnect"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              "petrelradar listen: the stream ended 9 bytes into a frame after 1 frame\n"
              "petrelradar listen: 1 frame cut off, 0 frames that did not decode\n");
}

TEST_F(ListenToBytesTest, ForeignBytesAreAFailure) {
    const Outcome outcome = listen_to("HTTP/1.1 400 Bad Request\r\n", {});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar listen: unix:/tmp/radar.sock: no target stream: at byte 0: "
              "48 54 54 50 in place of the magic 02 71 bb 01\n");
}

TEST_F(ListenToBytesTest, ForeignBytesBehindAFrameAreReportedAndCounted) {
    const Outcome outcome = listen_to(frame() + "xxxxxxxx", {"--no-reconnect"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err,
                testing::StartsWith("petrelradar listen: the stream is damaged at byte 16: 78 78 "
                                    "78 78 in place of the magic 02 71 bb 01 after 1 frame\n"));
}

TEST_F(ListenToBytesTest, AnEmptyStreamIsNoFrame) {
    const Outcome outcome = listen_to("", {"--no-reconnect"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar listen: the stream ended after 0 frames\n");
}

}  // namespace
