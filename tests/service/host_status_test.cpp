#include <csignal>

#include "tests/service/host_fixture.h"
#include "tests/support/eventually.h"

/** What the running program tells about itself. */
namespace {

using nlohmann::json;
using service_test::kLog;
using test_support::connect_to;
using test_support::frames_of;
using test_support::number;
using testing::HasSubstr;
using testing::StartsWith;

bool has_frames(json const& status) {
    return number(status["counters"]["frames"]) > 0;
}

bool has_file(json const& status) {
    return status["items"]["recording"] != "no file yet";
}

bool has_failed(json const& status) {
    return status["failure"]["flag"].get<bool>();
}

class HostStatusTest : public service_test::HostTest {
protected:
    /** Plays two frames with half a minute between them. */
    void start_silent() {
        test_support::write_file(kLog, test_support::log_of(frames_of(2, 300000)));
        start(
            {"--input", kLog, "--rate", "0.01", "--settings", settings_file("WatchdogTimeout=1\n")})
            .await_ready();
    }

    /** Plays frames that are at the limit of their targets. */
    void start_saturated() {
        test_support::write_file(kLog, test_support::log_of(frames_of(100, 20000)));
        start({"--input", kLog, "--loop", "--settings", settings_file("TargetLimit=1\n")})
            .await_ready();
    }
};

TEST_F(HostStatusTest, FramesAndTargetsAreCounted) {
    start_scene();
    const json counters = host_->await_status(has_frames)["counters"];
    EXPECT_GE(number(counters["targets"]), 1U);
    EXPECT_EQ(number(counters["targets_dropped"]), 0U);
    EXPECT_GT(number(counters["last_timestamp_us"]), 1600000000000000U);
}

TEST_F(HostStatusTest, TheProcessIsTold) {
    start_scene();
    const json status = host_->status();
    EXPECT_EQ(status["pid"], std::to_string(host_->pid()));
    EXPECT_EQ(status["state"], "running");
    EXPECT_GT(number(status["uptime_us"]), 0U);
    EXPECT_THAT(status["version"].get<std::string>(), testing::MatchesRegex("[0-9.]+"));
}

TEST_F(HostStatusTest, TheInputIsTold) {
    start_scene();
    EXPECT_EQ(host_->status()["input"]["name"], "scene:1");
    EXPECT_EQ(host_->status()["input"]["kind"], "scene");
}

TEST_F(HostStatusTest, TheItemsOfTheRegistryAreTold) {
    start_scene();
    const json items = host_->await_status(has_file)["items"];
    EXPECT_THAT(items["input"].get<std::string>(), StartsWith("scene:1, "));
    EXPECT_EQ(items["failure"], "none");
    EXPECT_EQ(items["watchdog"], "armed");
    EXPECT_THAT(items["recording"].get<std::string>(), StartsWith("/tmp/radar_"));
}

TEST_F(HostStatusTest, EveryRecorderIsTold) {
    start_scene("DataFileWriterEnabled=1\n");
    host_->await_status([](json const& status) {
        auto const& recorders = status["recorders"];
        return recorders["objects"]["frames_written"] != "0" &&
               recorders["raw"]["frames_written"] != "0" &&
               recorders["diagnostics"]["frames_written"] != "0";
    });
}

TEST_F(HostStatusTest, AConsumerIsToldWithItsCounters) {
    start_scene();
    const auto client = connect_to(host_->socket());
    const json status = host_->await_status([](json const& document) {
        auto const& clients = document["stream"]["clients"];
        return !clients.empty() && number(clients[0]["frames_sent"]) > 0;
    });
    EXPECT_EQ(status["stream"]["clients"][0]["id"], "1");
    EXPECT_EQ(status["stream"]["clients_accepted"], "1");
    EXPECT_GT(number(status["stream"]["clients"][0]["bytes_sent"]), 0U);
}

TEST_F(HostStatusTest, AtFirstNothingHasFailed) {
    start_scene();
    const json failure = host_->status()["failure"];
    EXPECT_EQ(failure["flag"], false);
    EXPECT_EQ(failure["current"]["active"], false);
    EXPECT_EQ(failure["reasons"].size(), 5U);
}

TEST_F(HostStatusTest, MissingDataIsAFailure) {
    start_silent();
    const json status = host_->await_status(has_failed);
    EXPECT_EQ(status["failure"]["current"]["text"], "No data");
    EXPECT_EQ(status["failure"]["current"]["active"], true);
    EXPECT_EQ(status["watchdog"]["expired"], true);
    EXPECT_EQ(status["watchdog"]["expirations"], "1");
    EXPECT_EQ(status["items"]["failure"], "No data");
}

TEST_F(HostStatusTest, MissingDataIsOverWhenDataArriveAgain) {
    // A silence of 1.5 s, then a frame every 0.15 s.
    std::vector<RO::RadarObjects> frames = frames_of(40, 30000);
    for (size_t i = 1; i < frames.size(); ++i) {
        frames[i].set_timestamp(frames[i].timestamp() + 300000);
    }
    test_support::write_file(kLog, test_support::log_of(frames));
    start({"--input", kLog, "--rate", "0.2", "--settings", settings_file("WatchdogTimeout=1\n")})
        .await_ready();
    host_->await_status(has_failed);
    host_->await_status([](json const& status) {
        return !has_failed(status) && !status["watchdog"]["expired"].get<bool>();
    });
}

TEST_F(HostStatusTest, AStopOfTheWholeServiceIsMissingDataAndNoError) {
    start_scene("WatchdogTimeout=1\n");
    host_->signal(SIGSTOP);
    const auto later = std::chrono::steady_clock::now() + std::chrono::milliseconds(1100);
    ASSERT_TRUE(test_support::eventually([&] { return std::chrono::steady_clock::now() > later; }));
    host_->signal(SIGCONT);
    const json status = host_->await_status([](json const& document) {
        return document["watchdog"]["expirations"] != "0" && !has_failed(document);
    });
    EXPECT_EQ(status["log"]["errors"], "0") << status["log"]["last"];
}

TEST_F(HostStatusTest, AFrameAtItsLimitIsSaturated) {
    start_saturated();
    const json status = host_->await_status(has_failed);
    EXPECT_EQ(status["failure"]["current"]["text"], "Saturation");
    EXPECT_GT(number(status["counters"]["targets_dropped"]), 0U);
}

TEST_F(HostStatusTest, DiagnosticsHaveEveryFrameOfAFailure) {
    start_saturated();
    host_->await_status([](json const& status) {
        return number(status["recorders"]["diagnostics"]["frames_written"]) > 20;
    });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostStatusTest, AReaderThatDoesNotReadDoesNotHoldUpTheFrames) {
    start_scene();
    const auto reader = connect_to(host_->status_socket());
    const uint64_t frames = number(host_->status()["counters"]["frames"]);
    host_->await_status(
        [&](json const& status) { return number(status["counters"]["frames"]) > frames + 5; });
}

TEST_F(HostStatusTest, EveryConnectionGetsADocument) {
    start_scene();
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(host_->status().is_object());
}

TEST_F(HostStatusTest, TheSocketsAreInTheRuntimeDirectoryByDefault) {
    start_scene("", {{"RUNTIME_DIRECTORY", "/tmp/run"}});
    const auto stream = connect_to("/tmp/run/targets.sock");
    const json status =
        json::parse(test_support::read_to_end(connect_to("/tmp/run/status.sock")), nullptr, false);
    EXPECT_EQ(status["stream"]["socket"], "/tmp/run/targets.sock");
}

}  // namespace
