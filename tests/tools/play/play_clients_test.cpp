// Clients of the verb play that are slow.

#include <filesystem>
#include <thread>

#include "tests/support/eventually.h"
#include "tests/tools/play/fixture.h"

namespace {

using test_support::kBegin;
using test_support::Outcome;
using test_support::steady_recording;
using testing::ElementsAre;
using testing::HasSubstr;
using tools_test::kRecording;
using tools_test::kSocket;

class PlayClientsTest : public tools_test::PlayTest {};

TEST_F(PlayClientsTest, AClientThatTakesNothingIsDisconnectedAndReported) {
    test_support::write_file(kRecording, steady_recording(5000, 100, 60));
    const auto program = start({"--wait", "--rate", "max"});
    const auto client = connect();
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("client 1 received no frame for 2000 ms; disconnected"));
    EXPECT_THAT(outcome.err, HasSubstr(", 1 client disconnected that took none\n"));
}

TEST_F(PlayClientsTest, ASlowClientMissesWholeFramesAndThatIsReported) {
    test_support::write_file(kRecording, steady_recording(3000, 100, 60));
    const auto program = start({"--wait"});
    const auto client = connect();
    // The socket goes first at the end; then there is a second left for what is queued.
    ASSERT_TRUE(test_support::eventually([] { return !std::filesystem::exists(kSocket); }));
    const size_t size = next(*client, 10000).size();
    EXPECT_LT(size, 3000U);
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr(std::to_string(3000 - size) + " frames not delivered"));
}

TEST_F(PlayClientsTest, AFrameOfManyMegabytesWaitsForASlowClient) {
    const std::string unknown = "\x7A\x80\x80\xC0\x02" + std::string(5U << 20, 'x');  // 5 MiB
    std::string bytes = test_support::header(4);
    for (uint64_t ms = 0; ms < 4; ++ms) {
        bytes += test_support::record(test_support::frame(kBegin + 1000 * ms) + unknown);
    }
    test_support::write_file(kRecording, bytes);
    const auto program = start({"--wait"});
    const auto client = connect();
    std::this_thread::sleep_for(std::chrono::milliseconds(45));  // all would be due by now
    EXPECT_THAT(next(*client, 5), ElementsAre(0, 1000, 2000, 3000));
    EXPECT_EQ(program->finish().status, 0);
}

}  // namespace
