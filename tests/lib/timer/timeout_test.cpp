#include "timer/timeout.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <type_traits>
#include <vector>

#include "lib/timer/fake_timer.h"
#include "lib/timer/registered_ports.h"
#include "support/captured_log.h"

namespace {

using Radar::Timeout;
using test_support::captured_log;
using test_support::fails_with;
using test_support::registered_ports;

static_assert(!std::is_polymorphic<Timeout>::value, "no virtual operations");
static_assert(!std::is_copy_constructible<Timeout>::value, "owns a descriptor");

class TimeoutTest : public testing::Test {
protected:
    using Log = std::vector<test_support::LogLine>;

    static Log logged(char const* what, int error) {
        return {{2, std::string(what) + std::strerror(error) + "\n"}};
    }

    /** Lets `ms` pass on the clock, runs a cycle, and returns whether the timeout ran out in it. */
    bool triggered_after(int ms) {
        timer.advance(ms);
        block.poll(0);
        return timeout->is_triggered();
    }

    test_support::SystemCalls system_calls;
    test_support::FakeTimer timer{system_calls};
    Petrel::Block block{"block"};
    std::optional<Timeout> timeout;
};

TEST_F(TimeoutTest, UsesTheMonotonicClockWithANonBlockingDescriptorThatExecCloses) {
    timeout.emplace(&block, "name");
    EXPECT_EQ(timer.clock, CLOCK_MONOTONIC);
    EXPECT_EQ(timer.flags, 0x80800);
}

TEST_F(TimeoutTest, RegistersItsDescriptorForReadingUnderItsName) {
    timeout.emplace(&block, "a name");
    ASSERT_EQ(registered_ports().size(), 1U);
    EXPECT_EQ(registered_ports()[0].block, &block);
    EXPECT_EQ(registered_ports()[0].name, "a name");
    EXPECT_EQ(registered_ports()[0].fd, timer.fd);
    EXPECT_EQ(registered_ports()[0].events, 1);
}

TEST_F(TimeoutTest, IsDisarmedAfterConstruction) {
    timeout.emplace(&block, "name");
    EXPECT_TRUE(timer.settings.empty());
    EXPECT_FALSE(triggered_after(1000000));
}

TEST_F(TimeoutTest, DestructionClosesTheDescriptor) {
    timeout.emplace(&block, "name");
    std::vector<int> closed;
    system_calls.close = [&closed](int fd) {
        closed.push_back(fd);
        return test_support::real_close(fd);
    };
    timeout.reset();
    EXPECT_EQ(closed, std::vector<int>{timer.fd});
}

TEST_F(TimeoutTest, DestructionLeavesThePortWithTheBlock) {
    timeout.emplace(&block, "name");
    timeout.reset();
    EXPECT_EQ(block.poll(0), 0);
}

TEST_F(TimeoutTest, AOneShotIsSetRelativeToNowWithoutInterval) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(2, 500000000, false);
    ASSERT_EQ(timer.settings.size(), 1U);
    EXPECT_EQ(timer.setting_flags[0], 0);
    EXPECT_EQ(timer.settings[0].it_value.tv_sec, 2);
    EXPECT_EQ(timer.settings[0].it_value.tv_nsec, 500000000);
    EXPECT_EQ(timer.settings[0].it_interval.tv_sec, 0);
    EXPECT_EQ(timer.settings[0].it_interval.tv_nsec, 0);
}

TEST_F(TimeoutTest, ARepeatedTimeoutHasItsPeriodAsInterval) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(2, 500000000, true);
    ASSERT_EQ(timer.settings.size(), 1U);
    EXPECT_EQ(timer.setting_flags[0], 0);
    EXPECT_EQ(timer.settings[0].it_value.tv_sec, 2);
    EXPECT_EQ(timer.settings[0].it_value.tv_nsec, 500000000);
    EXPECT_EQ(timer.settings[0].it_interval.tv_sec, 2);
    EXPECT_EQ(timer.settings[0].it_interval.tv_nsec, 500000000);
}

TEST_F(TimeoutTest, AOneShotTriggersOnce) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(2, 500000000, false);
    EXPECT_FALSE(triggered_after(2499));
    EXPECT_TRUE(triggered_after(1));
    EXPECT_FALSE(triggered_after(1000000));
}

TEST_F(TimeoutTest, ARepeatedTimeoutTriggersInEveryPeriod) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(2, 500000000, true);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(triggered_after(2499));
        EXPECT_TRUE(triggered_after(1));
    }
}

TEST_F(TimeoutTest, SeveralExpiriesCountAsOne) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, true);
    EXPECT_TRUE(triggered_after(5000));
    EXPECT_FALSE(triggered_after(0));
}

TEST_F(TimeoutTest, ANewSettingReplacesTheOneBefore) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, true);
    timeout->set_timeout(3, 0, false);
    EXPECT_FALSE(triggered_after(2999));
    EXPECT_TRUE(triggered_after(1));
    EXPECT_FALSE(triggered_after(10000));
}

TEST_F(TimeoutTest, ZeroDisarms) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, true);
    timeout->set_timeout(0, 0, true);
    EXPECT_FALSE(triggered_after(10000));
}

TEST_F(TimeoutTest, IsNotReadWhenThePortReportsNoEvent) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, false);
    timer.advance(1000);
    EXPECT_FALSE(timeout->is_triggered()) << "the block has not seen it yet";
    EXPECT_EQ(timer.reads, 0);
}

TEST_F(TimeoutTest, IsReadOnceForAnEvent) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, false);
    EXPECT_TRUE(triggered_after(1000));
    EXPECT_EQ(timer.reads, 1);
    EXPECT_EQ(block.poll(0), 0);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(TimeoutTest, ReadsTheEightBytesOfTheCount) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, false);
    timer.advance(1000);
    block.poll(0);
    size_t asked = 0;
    system_calls.read = [&asked](int, void*, size_t size) {
        asked = size;
        return static_cast<ssize_t>(size);
    };
    EXPECT_TRUE(timeout->is_triggered());
    EXPECT_EQ(asked, 8U);
}

TEST_F(TimeoutTest, AskedTwiceInACycleTriggersTwiceAndLogsThatNothingWasLeftToRead) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, false);
    EXPECT_TRUE(triggered_after(1000));
    EXPECT_TRUE(timeout->is_triggered());
    EXPECT_EQ(captured_log(), logged("Failed to read from timerfd: ", EAGAIN));
}

TEST_F(TimeoutTest, AFailedReadIsLoggedAndTriggersAllTheSame) {
    timeout.emplace(&block, "name");
    timeout->set_timeout(1, 0, false);
    system_calls.read = fails_with(EIO);
    EXPECT_TRUE(triggered_after(1000));
    EXPECT_EQ(captured_log(), logged("Failed to read from timerfd: ", EIO));
    EXPECT_EQ(test_support::captured_formats(), std::vector<std::string>{"%s"});
}

TEST_F(TimeoutTest, AFailedSettingIsLogged) {
    timeout.emplace(&block, "name");
    system_calls.timerfd_settime = fails_with(EINVAL);
    timeout->set_timeout(1, 1000000000, false);
    EXPECT_EQ(captured_log(), logged("timerfd_settime failed when setting new timeout: ", EINVAL));
}

TEST_F(TimeoutTest, WithoutATimerTheMissingDescriptorIsRegistered) {
    system_calls.timerfd_create = fails_with(EMFILE);
    timeout.emplace(&block, "name");
    ASSERT_EQ(registered_ports().size(), 1U);
    EXPECT_EQ(registered_ports()[0].fd, -1);
    EXPECT_EQ(captured_log(), Log{});
}

/** Timers of the kernel's own. */
class KernelTimeoutTest : public TimeoutTest {
protected:
    KernelTimeoutTest() {
        system_calls.timerfd_create = nullptr;
        system_calls.timerfd_settime = nullptr;
        timeout.emplace(&block, "name");
    }

    /** Whether the timeout runs out within a cycle of at most `ms`. */
    bool triggers_within(int ms) {
        block.poll(ms);
        return timeout->is_triggered();
    }
};

TEST_F(KernelTimeoutTest, AOneShotTriggersOnce) {
    timeout->set_timeout(0, 1000000, false);
    EXPECT_TRUE(triggers_within(5000));
    EXPECT_FALSE(triggers_within(20));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(KernelTimeoutTest, ARepeatedTimeoutTriggersAgain) {
    timeout->set_timeout(0, 1000000, true);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(triggers_within(5000));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(KernelTimeoutTest, ZeroDisarms) {
    timeout->set_timeout(0, 10000000, false);
    timeout->set_timeout(0, 0, false);
    EXPECT_FALSE(triggers_within(30));
}

TEST_F(KernelTimeoutTest, ASettingThatTheKernelRefusesLeavesTheOneBefore) {
    timeout->set_timeout(0, 1000000, false);
    timeout->set_timeout(1, 1000000000, false);
    EXPECT_EQ(captured_log(), logged("timerfd_settime failed when setting new timeout: ", EINVAL));
    EXPECT_TRUE(triggers_within(5000));
}

TEST_F(KernelTimeoutTest, TheDescriptorIsNonBlockingAndClosedOnExec) {
    const int fd = registered_ports().back().fd;
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(KernelTimeoutTest, WithoutATimerEverySettingIsLoggedAndNothingTriggers) {
    system_calls.timerfd_create = fails_with(EMFILE);
    Timeout none(&block, "none");
    none.set_timeout(0, 1000000, false);
    block.poll(5);
    EXPECT_FALSE(none.is_triggered());
    EXPECT_EQ(captured_log(), logged("timerfd_settime failed when setting new timeout: ", EBADF));
}

}  // namespace
