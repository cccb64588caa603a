#include "service/stop_signals.h"

#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/captured_log.h"

namespace {

class StopSignalsTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override { signals_.watch(block_); }

    Petrel::Block block_{"test"};
    Service::StopSignals signals_;
};

TEST_P(StopSignalsTest, ASignalIsSeenInTheNextCycle) {
    raise(GetParam());
    block_.poll(0);
    EXPECT_TRUE(signals_.is_triggered());
}

TEST_P(StopSignalsTest, ASignalIsSeenOnce) {
    raise(GetParam());
    block_.poll(0);
    signals_.is_triggered();
    block_.poll(0);
    EXPECT_FALSE(signals_.is_triggered());
}

TEST_P(StopSignalsTest, ASignalIsLogged) {
    test_support::clear_log();
    raise(GetParam());
    block_.poll(0);
    signals_.is_triggered();
    EXPECT_EQ(test_support::captured_log().size(), 1U);
}

TEST_P(StopSignalsTest, TheNextSignalEndsTheProcess) {
    const auto stop_twice = [this] {
        signals_.let_next_one_kill(std::chrono::milliseconds(0));
        kill(getpid(), GetParam());
        for (;;) pause();
    };
    EXPECT_EXIT(stop_twice(), testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, StopSignalsTest, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(StopSignalsWithoutBlockTest, NothingIsTriggered) {
    Service::StopSignals signals;
    EXPECT_FALSE(signals.is_triggered());
}

TEST(StopSignalsSecondTest, ASignalThatFollowsAtOnceDoesNotEndTheProcess) {
    const auto stop_twice = [] {
        {
            Service::StopSignals signals;
            signals.let_next_one_kill(std::chrono::hours(1));
            kill(getpid(), SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        _exit(7);
    };
    EXPECT_EXIT(stop_twice(), testing::ExitedWithCode(7), "");
}

TEST(StopSignalsHangUpTest, AHangUpThatIsIgnoredStaysIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    Petrel::Block block("test");
    Service::StopSignals signals;
    signals.watch(block);
    raise(SIGHUP);
    block.poll(0);
    EXPECT_FALSE(signals.is_triggered());
}

}  // namespace
