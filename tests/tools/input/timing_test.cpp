#include "tools/input/timing.h"

#include <gmock/gmock.h>

namespace Tools {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

/** The timing of frames in one file, whose offsets are ten times their numbers. */
FrameTiming timing_of(std::vector<uint64_t> const& times) {
    FrameTiming timing;
    for (size_t i = 0; i < times.size(); ++i) {
        InputFrame frame;
        frame.number = i;
        frame.offset = 10 * i;
        frame.timestamp = times[i];
        timing.add(frame, "a.data");
    }
    return timing;
}

/** So many times, `interval` apart. */
std::vector<uint64_t> regular(size_t count, uint64_t interval) {
    std::vector<uint64_t> times(count);
    for (size_t i = 0; i < count; ++i) times[i] = 1000000 + i * interval;
    return times;
}

TEST(FrameTimingTest, WithoutFramesThereIsNothingToTell) {
    const FrameTiming timing;
    EXPECT_EQ(timing.frames(), 0u);
    EXPECT_EQ(timing.intervals().count, 0u);
    EXPECT_EQ(timing.gap_from_us(), std::nullopt);
}

TEST(FrameTimingTest, FirstAndLastAreThoseOfTheSource) {
    const FrameTiming timing = timing_of({70, 50, 60});
    EXPECT_EQ(timing.first_us(), 70u);
    EXPECT_EQ(timing.last_us(), 60u);
}

TEST(FrameTimingTest, IntervalsHaveMeanDeviationAndExtremes) {
    const FrameTiming::Intervals intervals = timing_of({0, 10, 30, 50}).intervals();
    EXPECT_EQ(intervals.count, 3u);
    EXPECT_NEAR(intervals.mean_us, 16.667, 0.001);
    EXPECT_NEAR(intervals.deviation_us, 5.774, 0.001);
    EXPECT_EQ(intervals.shortest_us, 10u);
    EXPECT_EQ(intervals.longest_us, 20u);
}

TEST(FrameTimingTest, AStepBackIsCountedAndIsNoInterval) {
    const FrameTiming timing = timing_of({100, 110, 90, 100});
    EXPECT_EQ(timing.steps_back(), 1u);
    EXPECT_EQ(timing.intervals().count, 2u);
}

TEST(FrameTimingTest, ATimeThatIsLongForTheRecordingIsAGap) {
    std::vector<uint64_t> times = regular(20, 50000);
    for (size_t i = 12; i < times.size(); ++i) times[i] += 400000;
    const FrameTiming timing = timing_of(times);
    EXPECT_EQ(timing.gap_count(), 1u);
    ASSERT_THAT(timing.gaps(), SizeIs(1));
    const FrameGap gap = timing.gaps()[0];
    EXPECT_EQ(gap.length_us, 450000u);
    EXPECT_EQ(gap.begin_us, times[11]);
    EXPECT_EQ(gap.place.file, "a.data");
    EXPECT_EQ(gap.place.offset, 120u);
    EXPECT_EQ(gap.place.number, 12u);
}

TEST(FrameTimingTest, AGapIsNoInterval) {
    std::vector<uint64_t> times = regular(20, 50000);
    times.push_back(times.back() + 1000000);
    EXPECT_EQ(timing_of(times).intervals().longest_us, 50000u);
}

TEST(FrameTimingTest, OfTooFewFramesNoneIsAGap) {
    const FrameTiming timing = timing_of({0, 10, 20, 10000});
    EXPECT_EQ(timing.gap_count(), 0u);
    EXPECT_THAT(timing.gaps(), IsEmpty());
}

TEST(FrameTimingTest, OfManyGapsTheLongestAreListedInOrder) {
    std::vector<uint64_t> times = {0};
    for (uint64_t i = 1; i <= 3000; ++i) {
        const bool is_gap = i % 20 == 0;  // 150 of them, each longer than the one before
        times.push_back(times.back() + (is_gap ? 1000000 + i : 10000));
    }
    const FrameTiming timing = timing_of(times);
    EXPECT_EQ(timing.gap_count(), 150u);
    const std::vector<FrameGap> gaps = timing.gaps();
    ASSERT_THAT(gaps, SizeIs(FrameTiming::kMostGaps));
    EXPECT_EQ(gaps.front().place.number, 1020u);
    EXPECT_EQ(gaps.back().place.number, 3000u);
}

}  // namespace
}  // namespace Tools
