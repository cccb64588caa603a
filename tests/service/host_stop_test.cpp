#include <csignal>
#include <filesystem>

#include "kit/stream/client.h"
#include "tests/service/host_fixture.h"

/** How the running program ends. */
namespace {

namespace fs = std::filesystem;
using service_test::kDiagnostics;
using test_support::frames_of;
using test_support::number;
using test_support::recordings_in;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class HostStopTest : public service_test::HostTest, public testing::WithParamInterface<int> {
protected:
    /** Runs on a scene until a few frames were recorded, then stops. */
    int run_and_stop() {
        start_scene("DataFileWriterEnabled=1\nFileWriterMaxFileSize=3000\n");
        host_->await_status([](auto const& status) {
            return number(status["recorders"]["objects"]["files_completed"]) >= 2;
        });
        return host_->stop(GetParam());
    }
};

TEST_P(HostStopTest, TheProgramEndsWell) {
    EXPECT_EQ(run_and_stop(), 0);
    EXPECT_THAT(host_->complaints(), IsEmpty());
}

TEST_P(HostStopTest, EveryFileIsCompleted) {
    run_and_stop();
    for (auto const& [directory, prefix] : {std::pair<std::string, std::string>{"/tmp", "radar"},
                                            {"/tmp", "raw"},
                                            {kDiagnostics, "radar"}}) {
        const auto names = recordings_in(directory, prefix);
        EXPECT_FALSE(names.empty()) << directory << "/" << prefix;
        EXPECT_THAT(names, Each(EndsWith(".data")));
    }
}

TEST_P(HostStopTest, EveryFrameIsInTheFilesOnceAndInOrder) {
    run_and_stop();
    const auto timestamps = test_support::timestamps(recorded());
    EXPECT_TRUE(std::is_sorted(timestamps.begin(), timestamps.end(), std::less_equal<>()));
    // The log's last line tells how many there were.
    EXPECT_THAT(host_->errors(), testing::HasSubstr("Stopped after " +
                                                    std::to_string(timestamps.size()) + " frames"));
}

TEST_P(HostStopTest, TheSocketsAreRemoved) {
    run_and_stop();
    EXPECT_FALSE(fs::exists(host_->socket()));
    EXPECT_FALSE(fs::exists(host_->status_socket()));
}

INSTANTIATE_TEST_SUITE_P(Signals, HostStopTest, testing::Values(SIGINT, SIGTERM, SIGHUP));

class HostEndTest : public service_test::HostTest {};

TEST_F(HostEndTest, TheProgramEndsWithItsInput) {
    EXPECT_EQ(play(frames_of(3, 1000)), 0);
    EXPECT_THAT(recordings_in("/tmp", "radar"), ElementsAre(EndsWith(".data")));
    EXPECT_FALSE(fs::exists(host_->socket()));
}

TEST_F(HostEndTest, ALoopGoesOnUntilItIsStopped) {
    test_support::write_file(service_test::kLog, test_support::log_of(frames_of(3, 1000)));
    start({"--input", service_test::kLog, "--loop"}).await_ready();
    host_->await_status(
        [](auto const& status) { return number(status["counters"]["frames"]) > 10; });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostEndTest, ConsumersGetWhatIsQueuedForThem) {
    const auto frames = frames_of(40, 10000);
    test_support::write_file(service_test::kLog, test_support::log_of(frames));
    start({"--input", service_test::kLog}).await_ready();
    // It does not read before the service has ended.
    Kit::StreamClient client(host_->socket());
    ASSERT_EQ(host_->wait(), 0);
    Kit::StreamFrame frame;
    uint64_t last = 0;
    while (client.next(frame, std::chrono::seconds(1)) == Kit::StreamClient::Result::kFrame) {
        last = frame.objects.timestamp();
    }
    EXPECT_EQ(last, frames.back().timestamp());
}

TEST_F(HostEndTest, TwoSignalsAtOnceAreOneRequest) {
    start_scene();
    host_->signal(SIGINT);
    EXPECT_EQ(host_->stop(SIGTERM), 0);
    EXPECT_THAT(recordings_in("/tmp", "radar"), ElementsAre(EndsWith(".data")));
}

TEST_F(HostEndTest, AConsumerThatDoesNotReadDoesNotHoldUpTheEnd) {
    start({"--input", "scene", "--rate", "50"}).await_ready();
    const auto stuck = test_support::connect_to(host_->socket());
    host_->await_status([](auto const& status) {
        auto const& clients = status["stream"]["clients"];
        return !clients.empty() && number(clients[0]["queued"]) > 1;
    });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostEndTest, AConsumerThatHasGoneDoesNotEndTheProgram) {
    start_scene();
    for (int i = 0; i < 10; ++i) test_support::connect_to(host_->socket()).reset();
    const uint64_t frames = number(host_->status()["counters"]["frames"]);
    host_->await_status(
        [&](auto const& status) { return number(status["counters"]["frames"]) > frames + 3; });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

}  // namespace
