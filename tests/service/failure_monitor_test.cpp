#include "service/failure_monitor.h"

#include <gmock/gmock.h>

#include "tests/support/captured_log.h"

namespace {

using Service::FailureMonitor;
using Service::FailureReason;
using Service::FrameConditions;
using test_support::LogLine;

class FailureMonitorTest : public testing::Test {
protected:
    void frames(int count, FrameConditions const& conditions = {}) {
        for (int i = 0; i < count; ++i) monitor_.frame_arrived(conditions);
    }

    Kit::FailureStatus status(FailureReason reason) const {
        return monitor_.all().at(static_cast<size_t>(reason));
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
    EXPECT_EQ(status(FailureReason::kNoData).text, "No data");
    EXPECT_EQ(status(FailureReason::kInterference).text, "Interference");
    EXPECT_EQ(status(FailureReason::kSaturation).text, "Saturation");
}

TEST_F(FailureMonitorTest, MissingDataIsAFailureThatRaisesTheFlagAtOnce) {
    monitor_.data_missing();
    EXPECT_TRUE(status(FailureReason::kNoData).active);
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
    EXPECT_TRUE(status(FailureReason::kInterference).active);
    frames(1);
    EXPECT_FALSE(status(FailureReason::kInterference).active);
}

TEST_F(FailureMonitorTest, ConditionsAreToldApart) {
    frames(1, kSaturated);
    EXPECT_TRUE(status(FailureReason::kSaturation).active);
    EXPECT_FALSE(status(FailureReason::kInterference).active);
}

TEST_F(FailureMonitorTest, TheBeginningAndTheEndOfAFailureAreLoggedOnce) {
    test_support::clear_log();
    frames(2, kSaturated);
    frames(2);
    EXPECT_THAT(test_support::captured_log(),
                testing::ElementsAre(LogLine{1, "Failure begins: Saturation\n"},
                                     LogLine{0, "Failure ends: Saturation\n"}));
}

TEST_F(FailureMonitorTest, EveryReasonHasItsNumberAMeaningAndARemedy) {
    int32_t number = 0;
    for (Kit::FailureStatus const& failure : monitor_.all()) {
        EXPECT_EQ(failure.reason, number++);
        EXPECT_NE(failure.meaning, "");
        EXPECT_NE(failure.remedy, "");
    }
    EXPECT_EQ(number, 5);
}

TEST_F(FailureMonitorTest, StorageThatFailsIsAFailureWithItsDetail) {
    monitor_.recording_checked({"/tmp: No space left on device", ""});
    EXPECT_TRUE(status(FailureReason::kStorage).active);
    EXPECT_EQ(status(FailureReason::kStorage).text, "Storage");
    EXPECT_EQ(status(FailureReason::kStorage).detail, "/tmp: No space left on device");
    EXPECT_EQ(monitor_.current().text, "Storage");
}

TEST_F(FailureMonitorTest, ARecorderThatIsBehindIsAFailure) {
    monitor_.recording_checked({"", "/tmp: slow"});
    EXPECT_TRUE(status(FailureReason::kRecorderBehind).active);
    EXPECT_EQ(monitor_.current().text, "Recorder behind");
}

TEST_F(FailureMonitorTest, AFailureOfRecordingEndsWithIt) {
    monitor_.recording_checked({"/tmp: full", ""});
    monitor_.recording_checked({});
    EXPECT_FALSE(monitor_.any_active());
}

TEST_F(FailureMonitorTest, StorageThatFailsRaisesTheFlagAfterARunOfFrames) {
    monitor_.recording_checked({"/tmp: full", ""});
    frames(FailureMonitor::kRaiseAfter - 1);
    EXPECT_FALSE(monitor_.flag());
    frames(1);
    EXPECT_TRUE(monitor_.flag());
    monitor_.recording_checked({});
    frames(FailureMonitor::kClearAfter);
    EXPECT_FALSE(monitor_.flag());
}

TEST_F(FailureMonitorTest, AReasonOfTheInputIsTheCurrentOneBeforeThoseOfRecording) {
    monitor_.recording_checked({"/tmp: full", ""});
    frames(1, kSaturated);
    EXPECT_EQ(monitor_.current().text, "Saturation");
}

}  // namespace
