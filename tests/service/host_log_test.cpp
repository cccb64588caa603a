#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>

#include "tests/service/host_fixture.h"

/** The running program with a log, or a limit, that gets in the way. */
namespace {

using test_support::HostProcess;
using test_support::number;

class HostLogTest : public service_test::HostTest {
protected:
    /** Starts the program with its standard error in a pipe that is full and that nobody reads. */
    void start_unread() {
        ASSERT_EQ(mkfifo("/tmp/log", 0600), 0);
        pipe_.reset(open("/tmp/log", O_RDWR | O_NONBLOCK | O_CLOEXEC));
        const std::string block(1024, 'x');
        while (write(pipe_.get(), block.data(), block.size()) > 0) {
        }
        host_ = std::make_unique<HostProcess>(
            std::vector<std::string>{"--input", "scene:1", "--settings",
                                     settings_file("No1=1\nNo2=2\n")},
            HostProcess::Environment{},
            std::vector<std::string>{"/bin/sh", "-c", "exec \"$@\" 2>/tmp/log", "sh"});
        ASSERT_NE(host_->await_notification("READY=1"), "");
    }

    Kit::FileDescriptor pipe_;
};

TEST_F(HostLogTest, NobodyWhoReadsTheLogHoldsNothingUp) {
    start_unread();
    host_->await_status(
        [](auto const& status) { return number(status["counters"]["frames"]) > 10; });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostLogTest, LinesThatWereLostAreCountedWhenThereIsRoomAgain) {
    start_unread();
    std::string content(1 << 20, ' ');
    content.resize(static_cast<size_t>(read(pipe_.get(), content.data(), content.size())));
    EXPECT_EQ(host_->stop(SIGTERM), 0);
    std::string log(1 << 20, ' ');
    log.resize(static_cast<size_t>(read(pipe_.get(), log.data(), log.size())));
    EXPECT_THAT(log, testing::HasSubstr(" lines of the log were lost: nobody read them\n"));
}

TEST_F(HostLogTest, AFileSizeLimitEndsAFileAndNotTheService) {
    host_ = std::make_unique<HostProcess>(
        std::vector<std::string>{"--input", "scene:1", "--rate", "20", "--settings",
                                 settings_file("")},
        HostProcess::Environment{},
        std::vector<std::string>{"/bin/sh", "-c", "ulimit -f 16; exec \"$@\"", "sh"});
    host_->await_ready();
    host_->await_status([](auto const& status) {
        return number(status["recorders"]["objects"]["files_completed"]) >= 2;
    });
    const auto objects = host_->status()["recorders"]["objects"];
    EXPECT_EQ(number(objects["frames_dropped"]) + number(objects["frames_failed"]), 0U);
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostLogTest, ControlCharactersInANameAreVisible) {
    start({"--input", "/tmp/a\nb\x1b[31m.csv"});
    EXPECT_EQ(host_->wait(), 1);
    EXPECT_EQ(host_->errors().find('\x1b'), std::string::npos);
    EXPECT_THAT(host_->complaints(),
                testing::ElementsAre(testing::HasSubstr("a\\x0ab\\x1b[31m.csv")));
}

TEST_F(HostLogTest, AManagerThatDoesNotReadHoldsNothingUp) {
    start_scene("", {{"WATCHDOG_USEC", "2000"}});
    host_->await_status(
        [](auto const& status) { return number(status["counters"]["frames"]) > 30; });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostLogTest, HalfAMillionUnknownSettingsAreReadInTime) {
    std::string settings;
    for (int i = 0; i < 500000; ++i) settings += "Mine" + std::to_string(i) + "=1\n";
    start_scene(settings);
    const std::string log = host_->errors();
    EXPECT_LT(std::count(log.begin(), log.end(), '\n'), 20);
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

}  // namespace
