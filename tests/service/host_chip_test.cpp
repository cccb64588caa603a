#include <csignal>

#include "tests/service/host_fixture.h"

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

TEST_F(HostChipTest, TheProgramRunsUntilItIsStopped) {
    start_chip("scene");
    if (IsSkipped()) return;
    host_->await_status(
        [](auto const& status) { return number(status["counters"]["frames"]) > 5; });
    EXPECT_EQ(host_->status()["input"]["kind"], "chip");
    EXPECT_EQ(host_->stop(SIGTERM), 0) << host_->errors();
}

}  // namespace
