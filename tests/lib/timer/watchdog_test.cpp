#include "timer/watchdog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <type_traits>

#include "lib/timer/fake_timer.h"
#include "lib/timer/registered_ports.h"
#include "support/captured_log.h"

namespace {

using Radar::Watchdog;
using test_support::captured_log;
using test_support::fails_with;

static_assert(std::is_base_of<Radar::Timeout, Watchdog>::value, "a timeout");
static_assert(!std::is_polymorphic<Watchdog>::value, "no virtual operations");

class WatchdogTest : public testing::Test {
protected:
    using Log = std::vector<test_support::LogLine>;

    /** Lets `seconds` pass on the clock, runs a cycle, and returns whether the period ran out. */
    bool triggered_after(Watchdog& watchdog, int seconds) {
        timer.advance(seconds * 1000);
        block.poll(0);
        return watchdog.is_triggered();
    }

    test_support::SystemCalls system_calls;
    test_support::FakeTimer timer{system_calls};
    Petrel::Block block{"block"};
};

TEST_F(WatchdogTest, RegistersAsWatchdog) {
    const Watchdog watchdog(&block, 10);
    ASSERT_EQ(test_support::registered_ports().size(), 1U);
    EXPECT_EQ(test_support::registered_ports()[0].name, "watchdog");
}

TEST_F(WatchdogTest, IsArmedAtConstructionForOnePeriodWithoutRepetition) {
    const Watchdog watchdog(&block, 10);
    ASSERT_EQ(timer.settings.size(), 1U);
    EXPECT_EQ(timer.setting_flags[0], 0);
    EXPECT_EQ(timer.settings[0].it_value.tv_sec, 10);
    EXPECT_EQ(timer.settings[0].it_value.tv_nsec, 0);
    EXPECT_EQ(timer.settings[0].it_interval.tv_sec, 0);
    EXPECT_EQ(timer.settings[0].it_interval.tv_nsec, 0);
}

TEST_F(WatchdogTest, AKickStartsThePeriodAnew) {
    Watchdog watchdog(&block, 10);
    timer.advance(9000);
    watchdog.kick();
    EXPECT_FALSE(triggered_after(watchdog, 9));
    EXPECT_TRUE(triggered_after(watchdog, 1));
}

TEST_F(WatchdogTest, NeverTriggersWhileItIsKickedInTime) {
    Watchdog watchdog(&block, 10);
    for (int i = 0; i < 10; ++i) {
        EXPECT_FALSE(triggered_after(watchdog, 5));
        watchdog.kick();
    }
}

TEST_F(WatchdogTest, LeftAloneTriggersOnceAndStaysQuiet) {
    Watchdog watchdog(&block, 10);
    EXPECT_FALSE(triggered_after(watchdog, 9));
    EXPECT_TRUE(triggered_after(watchdog, 1));
    EXPECT_FALSE(triggered_after(watchdog, 100));
}

TEST_F(WatchdogTest, AKickArmsItAgainAfterItTriggered) {
    Watchdog watchdog(&block, 10);
    EXPECT_TRUE(triggered_after(watchdog, 10));
    watchdog.kick();
    EXPECT_TRUE(triggered_after(watchdog, 10));
}

TEST_F(WatchdogTest, IsNotReadWhenThePortReportsNoEvent) {
    Watchdog watchdog(&block, 10);
    timer.advance(10000);
    EXPECT_FALSE(watchdog.is_triggered());
    EXPECT_EQ(timer.reads, 0);
}

TEST_F(WatchdogTest, AFailedReadIsLoggedAndTriggersAllTheSame) {
    Watchdog watchdog(&block, 10);
    system_calls.read = fails_with(EIO);
    EXPECT_TRUE(triggered_after(watchdog, 10));
    EXPECT_EQ(captured_log(),
              (Log{{2, std::string("Failed to read from timerfd: ") + std::strerror(EIO) + "\n"}}));
}

TEST_F(WatchdogTest, AFailedKickIsLoggedAtConstructionToo) {
    system_calls.timerfd_settime = fails_with(EBADF);
    Watchdog watchdog(&block, 10);
    watchdog.kick();
    const test_support::LogLine line = {
        2, std::string("timerfd_settime failed when setting new timeout: ") + std::strerror(EBADF) +
               "\n"};
    EXPECT_EQ(captured_log(), (Log{line, line}));
}

TEST_F(WatchdogTest, DestructionClosesTheDescriptorAndLeavesThePortWithTheBlock) {
    int closed = -1;
    {
        const Watchdog watchdog(&block, 10);
        system_calls.close = [&closed](int fd) {
            closed = fd;
            return test_support::real_close(fd);
        };
    }
    EXPECT_EQ(closed, timer.fd);
    EXPECT_EQ(block.poll(0), 0);
}

TEST_F(WatchdogTest, APeriodOfZeroDisarms) {
    Watchdog watchdog(&block, 0);
    EXPECT_FALSE(triggered_after(watchdog, 100));
}

TEST_F(WatchdogTest, ANegativePeriodIsRefusedByTheKernel) {
    system_calls.timerfd_create = nullptr;
    system_calls.timerfd_settime = nullptr;
    const Watchdog watchdog(&block, -1);
    EXPECT_EQ(captured_log(),
              (Log{{2, std::string("timerfd_settime failed when setting new timeout: ") +
                           std::strerror(EINVAL) + "\n"}}));
}

}  // namespace
