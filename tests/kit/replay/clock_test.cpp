#include "kit/replay/clock.h"

#include <gtest/gtest.h>

#include "kit/base/input_error.h"

namespace {

using Kit::ReplayClock;
using std::chrono::milliseconds;

/** A clock that the test moves. */
class ReplayClockTest : public testing::Test {
protected:
    /** Plans the next frame and says how long after now it is due. */
    milliseconds wait_for(ReplayClock& of, uint64_t timestamp_us) const {
        of.plan(timestamp_us, now);
        return left(of);
    }

    milliseconds left(ReplayClock const& of) const {
        return std::chrono::duration_cast<milliseconds>(of.due() - now);
    }

    void pass(milliseconds time) { now += time; }

    ReplayClock::Clock::time_point now{std::chrono::hours(1)};
    ReplayClock clock{1.0};
};

TEST_F(ReplayClockTest, TheFirstFrameIsDueAtOnce) {
    EXPECT_EQ(wait_for(clock, 5000000), milliseconds(0));
}

TEST_F(ReplayClockTest, FramesComeAtTheirOwnPace) {
    wait_for(clock, 5000000);
    EXPECT_EQ(wait_for(clock, 5040000), milliseconds(40));
    pass(milliseconds(45));  // the frame was late
    EXPECT_EQ(wait_for(clock, 5080000), milliseconds(35));
}

TEST_F(ReplayClockTest, WithoutARateEveryFrameIsDueAtOnce) {
    ReplayClock fast(std::nullopt);
    wait_for(fast, 5000000);
    EXPECT_EQ(wait_for(fast, 5900000), milliseconds(0));
}

TEST_F(ReplayClockTest, ALongGapIsKept) {
    wait_for(clock, 5000000);
    EXPECT_EQ(wait_for(clock, 95000000), milliseconds(90000));
}

TEST_F(ReplayClockTest, ALongGapThatIsToBeSkippedIsShortened) {
    ReplayClock skipping(1.0, Kit::kSkipGaps);
    wait_for(skipping, 5000000);
    wait_for(skipping, 5040000);
    EXPECT_EQ(wait_for(skipping, 95040000), milliseconds(80));
}

TEST_F(ReplayClockTest, AnotherRateCountsFromWhereTheReplayIs) {
    wait_for(clock, 5000000);
    wait_for(clock, 5800000);
    pass(milliseconds(400));
    clock.set_rate(2.0, now);
    EXPECT_EQ(left(clock), milliseconds(200));
}

TEST_F(ReplayClockTest, ARateAfterNoneGoesOnAtThePlannedFrame) {
    ReplayClock fast(std::nullopt);
    wait_for(fast, 5000000);
    wait_for(fast, 5800000);
    fast.set_rate(1.0, now);
    EXPECT_EQ(left(fast), milliseconds(0));
    EXPECT_EQ(wait_for(fast, 5900000), milliseconds(100));
}

TEST_F(ReplayClockTest, WhilePausedNothingIsDue) {
    wait_for(clock, 5000000);
    clock.pause(now);
    EXPECT_EQ(clock.due(), ReplayClock::Clock::time_point::max());
}

TEST_F(ReplayClockTest, APauseDoesNotShortenTheRestOfTheWait) {
    wait_for(clock, 5000000);
    wait_for(clock, 5800000);
    pass(milliseconds(300));
    clock.pause(now);
    pass(milliseconds(60000));
    clock.resume(now);
    EXPECT_EQ(left(clock), milliseconds(500));
}

TEST_F(ReplayClockTest, AfterAJumpTheFrameIsDueAtOnceAndTheNextAtItsPace) {
    wait_for(clock, 5000000);
    clock.jump();
    EXPECT_EQ(wait_for(clock, 5700000), milliseconds(0));
    EXPECT_EQ(wait_for(clock, 5740000), milliseconds(40));
}

TEST_F(ReplayClockTest, AfterALongHoldUpFramesDoNotComeAllAtOnce) {
    wait_for(clock, 5000000);
    wait_for(clock, 5040000);
    pass(milliseconds(5000));
    EXPECT_EQ(wait_for(clock, 5080000), milliseconds(0));
    EXPECT_EQ(wait_for(clock, 5120000), milliseconds(40));
}

TEST_F(ReplayClockTest, AStepBackIsATypicalStep) {
    wait_for(clock, 5000000);
    wait_for(clock, 5040000);
    EXPECT_EQ(wait_for(clock, 1000000), milliseconds(80));
}

TEST_F(ReplayClockTest, ARateThatIsNoneIsRefused) {
    EXPECT_THROW(ReplayClock(0.0), Kit::InputError);
    EXPECT_THROW(clock.set_rate(-1.0, now), Kit::InputError);
}

}  // namespace
