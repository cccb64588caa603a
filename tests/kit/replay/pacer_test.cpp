#include "kit/replay/pacer.h"

#include <gmock/gmock.h>

#include <limits>
#include <vector>

#include "kit/base/input_error.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

/** When frames with these timestamps are due, in ns. */
std::vector<int64_t> due(Kit::Pacer pacer, std::vector<uint64_t> const& timestamps) {
    std::vector<int64_t> times;
    for (const uint64_t timestamp : timestamps) times.push_back(pacer.due(timestamp).count());
    return times;
}

TEST(PacerTest, TheFirstFrameIsDueAtOnce) {
    EXPECT_THAT(due(Kit::Pacer(1), {1735689600000000}), testing::ElementsAre(0));
}

TEST(PacerTest, FramesAreDueAtTheirOwnPace) {
    EXPECT_THAT(due(Kit::Pacer(1), {5000, 6300, 64300}),
                testing::ElementsAre(0, 1300000, 59300000));
}

TEST(PacerTest, TwiceTheRateHalvesTheTimes) {
    EXPECT_THAT(due(Kit::Pacer(2), {0, 1000, 3000}), testing::ElementsAre(0, 500000, 1500000));
}

TEST(PacerTest, AnInfiniteRateMakesEveryFrameDueAtOnce) {
    EXPECT_THAT(due(Kit::Pacer(std::numeric_limits<double>::infinity()), {0, 1000, 999999999999}),
                testing::ElementsAre(0, 0, 0));
}

TEST(PacerTest, ALongStepIsKept) {
    EXPECT_THAT(due(Kit::Pacer(1), {0, 10000, 3600010000, 3600020000}),
                testing::ElementsAre(0, 10000000, 3600010000000, 3600020000000));
}

TEST(PacerTest, ALongStepThatIsToBeSkippedCountsAsTheMeanOfThoseBefore) {
    EXPECT_THAT(due(Kit::Pacer(1, Kit::kSkipGaps), {0, 10000, 40000, 60000000, 60001000}),
                testing::ElementsAre(0, 10000000, 40000000, 60000000, 61000000));
}

TEST(PacerTest, AStepBackCountsAsTheMeanOfThoseBefore) {
    EXPECT_THAT(due(Kit::Pacer(1), {5000, 7000, 5000, 7000}),
                testing::ElementsAre(0, 2000000, 4000000, 6000000));
}

TEST(PacerTest, ASkippedStepWithNoneBeforeCountsAsAThirtiethOfASecond) {
    EXPECT_THAT(due(Kit::Pacer(1, Kit::kSkipGaps), {0, 9000000}),
                testing::ElementsAre(0, 33333333));
}

TEST(PacerTest, AStepAsLongAsTheLongestGapIsKept) {
    EXPECT_THAT(due(Kit::Pacer(1, milliseconds(5)), {0, 5000}), testing::ElementsAre(0, 5000000));
}

TEST(PacerTest, FramesOfOneTimestampAreDueTogether) {
    EXPECT_THAT(due(Kit::Pacer(1), {7, 7}), testing::ElementsAre(0, 0));
}

TEST(PacerTest, TimestampsOfAnySizeAreTaken) {
    EXPECT_THAT(due(Kit::Pacer(1), {0, 18446744073709551615u, 0}),
                testing::ElementsAre(0, 33333333, 66666666));
}

TEST(PacerTest, ATimeThatCannotBeToldStaysAtTheLargest) {
    EXPECT_THAT(due(Kit::Pacer(1e-15), {0, 1000000}),
                testing::ElementsAre(0, nanoseconds::max().count()));
}

TEST(PacerTest, ARateThatIsNoneIsRefused) {
    for (const double rate : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(Kit::Pacer{rate}, Kit::InputError) << rate;
    }
}

}  // namespace
