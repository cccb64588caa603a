#include <csignal>

#include "tests/service/host_fixture.h"
#include "tests/support/eventually.h"

/** What the running program tells the service manager. */
namespace {

using service_test::kLog;
using test_support::frames_of;
using testing::HasSubstr;
using testing::StartsWith;

class HostNotifyTest : public service_test::HostTest {};

TEST_F(HostNotifyTest, ReadinessIsToldWhenTheSocketsAreThere) {
    start({"--input", "scene"});
    EXPECT_THAT(host_->await_notification("READY=1"), HasSubstr("STATUS="));
    EXPECT_EQ(host_->status()["state"], "running");
    EXPECT_GE(test_support::connect_to(host_->socket()).get(), 0);
}

TEST_F(HostNotifyTest, AServiceThatDoesNotStartIsNeverReady) {
    start({"--input", "/tmp/none.csv"});
    EXPECT_EQ(host_->await_notification("READY=1"), "");
}

TEST_F(HostNotifyTest, BeingAliveIsToldOftenEnough) {
    start_scene("", {{"WATCHDOG_USEC", "200000"}});
    EXPECT_EQ(host_->await_notification("WATCHDOG=1"), "WATCHDOG=1");
    EXPECT_EQ(host_->await_notification("WATCHDOG=1"), "WATCHDOG=1");
}

TEST_F(HostNotifyTest, WithoutDataTheServiceIsNotAlive) {
    test_support::write_file(kLog, test_support::log_of(frames_of(2, 300000)));
    start({"--input", kLog, "--rate", "0.01", "--settings", settings_file("WatchdogTimeout=1\n")},
          {{"WATCHDOG_USEC", "400000"}})
        .await_ready();
    host_->await_status([](auto const& status) { return status["watchdog"]["expired"] == true; });
    // What was sent before is read away; from then on nothing comes in three intervals.
    while (!host_->await_notification("WATCHDOG=1", std::chrono::milliseconds(1)).empty()) {
    }
    EXPECT_EQ(host_->await_notification("WATCHDOG=1", std::chrono::milliseconds(600)), "");
}

TEST_F(HostNotifyTest, StoppingIsTold) {
    start_scene();
    host_->signal(SIGTERM);
    EXPECT_THAT(host_->await_notification("STOPPING=1"), StartsWith("STOPPING=1\n"));
}

TEST_F(HostNotifyTest, WithoutAManagerTheServiceWorks) {
    start({"--input", "scene"}, {{"NOTIFY_SOCKET", ""}});
    // The status socket answers while the service starts, too.
    ASSERT_TRUE(test_support::eventually(
        [this] { return access(host_->status_socket().c_str(), F_OK) == 0; }));
    host_->await_status([](auto const& status) { return status["state"] == "running"; });
}

}  // namespace
