#include "service/replay_input.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "kit/base/input_error.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"

namespace {

using Service::FrameConditions;
using Service::Input;
using Service::Options;
using Service::ReplayInput;
using testing::ElementsAre;
using Clock = Input::Clock;

constexpr char kLog[] = "/tmp/walk.csv";

class ReplayInputTest : public test_support::PrivatePathsTest {
protected:
    void open(std::string const& log) {
        test_support::write_file(kLog, log);
        options_.input = kLog;
        open();
    }

    void open() { input_ = std::make_unique<ReplayInput>(options_); }

    Input::Result next() { return input_->next(frame_, conditions_); }

    uint64_t next_timestamp() {
        EXPECT_EQ(next(), Input::Result::kFrame);
        return frame_.timestamp();
    }

    std::string refusal(std::string const& log) {
        try {
            open(log);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "";
    }

    Options options_;
    RO::RadarObjects frame_;
    FrameConditions conditions_;
    std::unique_ptr<ReplayInput> input_;
};

TEST_F(ReplayInputTest, FramesHaveTheTimestampsOfTheLog) {
    open(test_support::log_of(test_support::frames_of(2, 100)));
    EXPECT_EQ(next_timestamp(), 1000000U);
    EXPECT_EQ(next_timestamp(), 1000100U);
}

TEST_F(ReplayInputTest, TheInputEndsWithItsLog) {
    open(test_support::log_of(test_support::frames_of(1, 100)));
    next();
    EXPECT_EQ(next(), Input::Result::kEnd);
    EXPECT_EQ(next(), Input::Result::kEnd);
}

TEST_F(ReplayInputTest, ALoopBeginsAgainWithTheFirstTimestamp) {
    options_.loop = true;
    open(test_support::log_of(test_support::frames_of(2, 100)));
    next();
    next();
    EXPECT_EQ(next_timestamp(), 1000000U);
}

TEST_F(ReplayInputTest, TheFirstFrameIsDueAtOnce) {
    open(test_support::log_of(test_support::frames_of(2, 100)));
    EXPECT_LE(input_->due(), Clock::now());
}

TEST_F(ReplayInputTest, AFrameIsDueAsLongAfterTheFirstAsItWasMeasured) {
    open(test_support::log_of(test_support::frames_of(2, 500000)));
    const auto before = Clock::now();
    next();
    EXPECT_GE(input_->due(), before + std::chrono::milliseconds(500));
    EXPECT_LE(input_->due(), Clock::now() + std::chrono::milliseconds(500));
}

TEST_F(ReplayInputTest, AGapOfTheLogIsKept) {
    open(test_support::log_of(test_support::frames_of(2, 3600000000)));
    const auto before = Clock::now();
    next();
    EXPECT_GE(input_->due(), before + std::chrono::hours(1));
    EXPECT_LE(input_->due(), Clock::now() + std::chrono::hours(1));
}

TEST_F(ReplayInputTest, AGapThatIsToBeSkippedCountsAsOneFrame) {
    options_.skip_gaps = true;
    open(test_support::log_of(test_support::frames_of(2, 3600000000)));
    next();
    EXPECT_LE(input_->due(), Clock::now() + std::chrono::milliseconds(34));
}

TEST_F(ReplayInputTest, AtTwiceTheRateAFrameIsDueAfterHalfTheTime) {
    options_.rate = 2;
    open(test_support::log_of(test_support::frames_of(2, 500000)));
    const auto before = Clock::now();
    next();
    EXPECT_GE(input_->due(), before + std::chrono::milliseconds(250));
    EXPECT_LE(input_->due(), Clock::now() + std::chrono::milliseconds(250));
}

TEST_F(ReplayInputTest, AtTheHighestRateEveryFrameIsDueAtOnce) {
    options_.rate = std::nullopt;
    open(test_support::log_of(test_support::frames_of(2, 500000)));
    next();
    EXPECT_LE(input_->due(), Clock::now());
}

TEST_F(ReplayInputTest, TheSlowestRateDoesNotOverflowTheClock) {
    options_.rate = 1e-300;
    open(test_support::log_of(test_support::frames_of(2, 500000)));
    next();
    EXPECT_GT(input_->due(), Clock::now() + std::chrono::hours(24));
}

TEST_F(ReplayInputTest, TheEndIsDueAtOnce) {
    open(test_support::log_of(test_support::frames_of(1, 500000)));
    next();
    EXPECT_LE(input_->due(), Clock::now());
}

TEST_F(ReplayInputTest, ALogWithoutFramesIsRefused) {
    EXPECT_EQ(refusal(test_support::log_of({})), "/tmp/walk.csv: no frames");
}

TEST_F(ReplayInputTest, ALogThatIsDamagedAtItsBeginningIsRefused) {
    EXPECT_THAT(refusal("frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n0,1,x,1,1,1,0,1\n"),
                testing::StartsWith("/tmp/walk.csv:2:5: "));
}

TEST_F(ReplayInputTest, TheFramesBeforeADamageAreTaken) {
    open(test_support::log_of(test_support::frames_of(3, 100)) + "3,x,1,1,1,1,0,1\n");
    EXPECT_EQ(next_timestamp(), 1000000U);
    EXPECT_EQ(next_timestamp(), 1000100U);
    EXPECT_THROW(next(), Kit::InputError);
}

TEST_F(ReplayInputTest, AFrameOfASceneHasTheCurrentTime) {
    options_.input = "scene";
    open();
    const auto microseconds = [] {
        return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                         std::chrono::system_clock::now().time_since_epoch())
                                         .count());
    };
    const uint64_t before = microseconds();
    const uint64_t timestamp = next_timestamp();
    EXPECT_GE(timestamp, before);
    EXPECT_LE(timestamp, microseconds());
}

TEST_F(ReplayInputTest, ASceneOfTheSameSeedIsTheSame) {
    options_.input = "scene:7";
    open();
    next();
    const std::string first = frame_.targets(0).SerializeAsString();
    open();
    next();
    EXPECT_EQ(frame_.targets(0).SerializeAsString(), first);
}

TEST_F(ReplayInputTest, ASceneHasTheFrameRateThatItIsAskedFor) {
    options_.input = "scene:7";
    options_.frame_rate = 2;
    open();
    const auto before = Clock::now();
    next();
    EXPECT_GE(input_->due(), before + std::chrono::milliseconds(499));
    EXPECT_LE(input_->due(), Clock::now() + std::chrono::milliseconds(501));
}

TEST_F(ReplayInputTest, ASceneWithAFrameRateIsTheOneOfItsSeed) {
    for (char const* const scene : {"scene", "scene:7"}) {
        options_.input = scene;
        options_.frame_rate = std::nullopt;
        open();
        next();
        const std::string first = frame_.targets(0).SerializeAsString();
        options_.frame_rate = 30;
        open();
        next();
        EXPECT_EQ(frame_.targets(0).SerializeAsString(), first) << scene;
    }
}

TEST_F(ReplayInputTest, TheStatusTellsALogFromAScene) {
    open(test_support::log_of(test_support::frames_of(1, 100)));
    EXPECT_EQ(input_->status().kind, "replay");
    options_.input = "scene";
    open();
    EXPECT_EQ(input_->status().kind, "scene");
}

TEST_F(ReplayInputTest, AFifoIsRefusedWithoutWaitingForItsWriter) {
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    options_.input = "/tmp/fifo";
    EXPECT_THROW(open(), Kit::InputError);
}

TEST_F(ReplayInputTest, ASeedThatIsNoNumberIsRefused) {
    options_.input = "scene:x";
    EXPECT_THROW(open(), Kit::InputError);
    options_.frame_rate = 30;
    EXPECT_THROW(open(), Kit::InputError);
}

}  // namespace
