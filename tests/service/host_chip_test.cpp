#include <unistd.h>

#include <csignal>

#include "tests/service/host_fixture.h"
#include "tests/support/eventually.h"

/** The running program on the simulated chip behind a device file. */
namespace {

using service_test::kLog;
using test_support::frames_of;
using test_support::number;

class HostChipTest : public service_test::HostTest {
protected:
    static constexpr int kUnavailable = 69;

    /** Starts the program beside a chip that sees `input`. */
    void start_chip(std::string const& input) {
        host_ = std::make_unique<test_support::HostProcess>(
            std::vector<std::string>{"--input", "chip"}, test_support::HostProcess::Environment{},
            std::vector<std::string>{PETRELRADAR_CHIP_PROGRAM, "--input", input, "--"});
        if (host_->await_notification("READY=1").empty() && host_->wait() == kUnavailable) {
            GTEST_SKIP() << host_->errors();
        }
    }
};

TEST_F(HostChipTest, FramesGoFromTheChipIntoTheRecording) {
    // No more than the chip holds, so that none is dropped however slow the machine is.
    const auto frames = frames_of(4, 10000);
    test_support::write_file(kLog, test_support::log_of(frames));
    start_chip(kLog);
    if (IsSkipped()) return;
    EXPECT_EQ(host_->wait(), 0) << host_->errors();
    EXPECT_EQ(test_support::texts(recorded()), test_support::texts(frames));
}

TEST_F(HostChipTest, EveryFrameOfTheChipIsReadOrCountedAsDropped) {
    start_chip("scene");
    if (IsSkipped()) return;
    const auto status = host_->await_status(
        [](auto const& document) { return number(document["counters"]["frames"]) > 20; });
    auto const& input = status["input"];
    EXPECT_EQ(number(input["frames"]), number(input["frames_read"]) +
                                           number(input["frames_dropped"]) +
                                           number(input["frames_torn"]));
    EXPECT_EQ(number(input["frames_read"]),
              number(status["counters"]["frames"]) + number(input["queued"]));
    EXPECT_EQ(status["recorders"]["objects"]["frames"], status["counters"]["frames"]);
}

/** A chip that is stopped in the middle of its work: a transfer on the bus hangs. */
class HostHungChipTest : public HostChipTest {
protected:
    void TearDown() override {
        if (host_) host_->signal(SIGCONT);
        HostChipTest::TearDown();
    }

    /** Returns the process of the service, which is not that of the chip. */
    pid_t hang() {
        start_chip("scene");
        if (IsSkipped()) return -1;
        const auto status = host_->await_status(
            [](auto const& document) { return number(document["counters"]["frames"]) > 5; });
        host_->signal(SIGSTOP);
        return static_cast<pid_t>(number(status["pid"]));
    }
};

TEST_F(HostHungChipTest, StatusAndMissingDataAreToldAllTheSame) {
    if (hang() < 0) return;
    host_->await_status([](auto const& status) { return status["watchdog"]["expired"] == true; });
}

TEST_F(HostHungChipTest, ASignalEndsTheServiceWithinTwoSeconds) {
    const pid_t service = hang();
    if (service < 0) return;
    host_->await_status([](auto const& status) { return status["watchdog"]["expired"] == true; });
    const auto begin = std::chrono::steady_clock::now();
    kill(service, SIGTERM);
    // The socket is removed by a service that ends well.
    EXPECT_TRUE(test_support::eventually(
        [&] { return access(host_->status_socket().c_str(), F_OK) != 0; }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(HostChipTest, TheProgramRunsUntilItIsStopped) {
    start_chip("scene");
    if (IsSkipped()) return;
    host_->await_status(
        [](auto const& status) { return number(status["counters"]["frames"]) > 5; });
    EXPECT_EQ(host_->status()["input"]["kind"], "chip");
    EXPECT_EQ(host_->stop(SIGTERM), 0) << host_->errors();
}

}  // namespace
