#include "service/failure_monitor.h"

#include <gmock/gmock.h>

#include "tests/support/captured_log.h"

namespace {

using Radar::Failure;
using Service::FailureMonitor;
using Service::FrameConditions;
using test_support::LogLine;

class FailureMonitorTest : public testing::Test {
protected:
    void frames(int count, FrameConditions const& conditions = {}) {
        for (int i = 0; i < count; ++i) monitor_.frame_arrived(conditions);
    }

    static constexpr FrameConditions kSaturated = {true, false};
    static constexpr FrameConditions kInterfered = {false, true};

    FailureMonitor monitor_;
};

TEST_F(FailureMonitorTest, AtFirstNothingHasFailed) {
    EXPECT_FALSE(monitor_.any_active());
    EXPECT_FALSE(monitor_.flag());
}

TEST_F(FailureMonitorTest, TheAbsenceOfAFailureIsPublishedAtOnce) {
    ASSERT_NE(monitor_.port().current(), nullptr);
    EXPECT_FALSE(*monitor_.port().current());
}

TEST_F(FailureMonitorTest, EveryReasonIsKnownFromTheStart) {
    EXPECT_EQ(monitor_.failures().str(Failure::no_data), "No data");
    EXPECT_EQ(monitor_.failures().str(Failure::interference), "Interference");
    EXPECT_EQ(monitor_.failures().str(Failure::saturation), "Saturation");
}

TEST_F(FailureMonitorTest, MissingDataIsAFailureThatRaisesTheFlagAtOnce) {
    monitor_.data_missing();
    EXPECT_TRUE(monitor_.failures().state(Failure::no_data));
    EXPECT_TRUE(*monitor_.port().current());
}

TEST_F(FailureMonitorTest, MissingDataEndsWithTheNextFrame) {
    monitor_.data_missing();
    frames(1);
    EXPECT_FALSE(monitor_.is_data_missing());
}

TEST_F(FailureMonitorTest, TheFlagFallsAfterARunOfGoodFrames) {
    monitor_.data_missing();
    frames(FailureMonitor::kClearAfter - 1);
    EXPECT_TRUE(monitor_.flag());
    frames(1);
    EXPECT_FALSE(monitor_.flag());
    EXPECT_FALSE(*monitor_.port().current());
}

TEST_F(FailureMonitorTest, TheFlagRisesAfterARunOfBadFrames) {
    frames(FailureMonitor::kRaiseAfter - 1, kSaturated);
    EXPECT_FALSE(monitor_.flag());
    frames(1, kSaturated);
    EXPECT_TRUE(monitor_.flag());
}

TEST_F(FailureMonitorTest, ABadFrameNowAndThenDoesNotRaiseTheFlag) {
    for (int i = 0; i < 20; ++i) {
        frames(1, kInterfered);
        frames(1);
    }
    EXPECT_FALSE(monitor_.flag());
}

TEST_F(FailureMonitorTest, AConditionIsAFailureForAsLongAsFramesShowIt) {
    frames(1, kInterfered);
    EXPECT_TRUE(monitor_.failures().state(Failure::interference));
    frames(1);
    EXPECT_FALSE(monitor_.failures().state(Failure::interference));
}

TEST_F(FailureMonitorTest, ConditionsAreToldApart) {
    frames(1, kSaturated);
    EXPECT_TRUE(monitor_.failures().state(Failure::saturation));
    EXPECT_FALSE(monitor_.failures().state(Failure::interference));
}

TEST_F(FailureMonitorTest, TheBeginningAndTheEndOfAFailureAreLoggedOnce) {
    test_support::clear_log();
    frames(2, kSaturated);
    frames(2);
    EXPECT_THAT(test_support::captured_log(),
                testing::ElementsAre(LogLine{1, "Failure begins: Saturation\n"},
                                     LogLine{0, "Failure ends: Saturation\n"}));
}

}  // namespace
