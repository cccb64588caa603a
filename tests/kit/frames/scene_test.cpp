#include "kit/frames/scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kit/base/input_error.h"

namespace {

/** FNV-1a over the encodings of the first frames of a scene. */
uint64_t fingerprint(Kit::Scene& scene, int frames) {
    uint64_t hash = 0xCBF29CE484222325;
    RO::RadarObjects frame;
    for (int i = 0; i < frames; ++i) {
        scene.next(frame);
        for (const char c : frame.SerializeAsString()) {
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    return hash;
}

uint64_t fingerprint(uint32_t seed, int frames) {
    Kit::Scene scene(seed);
    return fingerprint(scene, frames);
}

/** The largest number of targets in the first frames. */
int most_targets(Kit::Scene& scene) {
    int most = 0;
    RO::RadarObjects frame;
    for (int i = 0; i < 200 && scene.next(frame); ++i) most = std::max(most, frame.targets_size());
    return most;
}

/** Whether `frame` has a target where one with `target`'s speed is after `seconds`. */
bool continues(RO::TargetData const& target, RO::RadarObjects const& frame, float seconds) {
    const float expected = target.r() + target.rdot() * seconds;
    return std::any_of(frame.targets().begin(), frame.targets().end(),
                       [&](RO::TargetData const& t) {
                           return std::fabs(t.r() - expected) < 0.35f &&
                                  std::fabs(t.rdot() - target.rdot()) < 0.7f &&
                                  std::fabs(t.theta() - target.theta()) < 0.3f;
                       });
}

TEST(SceneTest, TheFramesOfASeedAreTheSameOnEveryMachine) {
    EXPECT_EQ(fingerprint(1, 1000), 2881820190774698481u);
}

TEST(SceneTest, AnotherSeedIsAnotherScene) {
    EXPECT_NE(fingerprint(1, 1), fingerprint(2, 1));
}

TEST(SceneTest, RewindingGivesTheSameFramesAgain) {
    Kit::Scene scene(7);
    const uint64_t first = fingerprint(scene, 50);
    scene.rewind();
    EXPECT_EQ(fingerprint(scene, 50), first);
}

TEST(SceneTest, TimestampsBeginAtAFixedTimeAndStepWithTheFrameRate) {
    Kit::Scene scene(1, 30);
    RO::RadarObjects frame;
    std::vector<uint64_t> times;
    for (int i = 0; i < 4 && scene.next(frame); ++i) times.push_back(frame.timestamp());
    EXPECT_THAT(times, testing::ElementsAre(1735689600000000u, 1735689600033333u, 1735689600066667u,
                                            1735689600100000u));
}

TEST(SceneTest, FramesHaveTheMagicOfRadarFrames) {
    Kit::Scene scene(1);
    RO::RadarObjects frame;
    ASSERT_TRUE(scene.next(frame));
    EXPECT_EQ(frame.magic(), 29061378u);
}

TEST(SceneTest, AFrameReplacesWhatItsMessageHeld) {
    Kit::Scene scene(1);
    RO::RadarObjects frame;
    scene.next(frame);
    const std::string first = frame.SerializeAsString();
    scene.rewind();
    scene.next(frame);
    EXPECT_EQ(frame.SerializeAsString(), first);
}

TEST(SceneTest, FramesKeepToTheLimitOfTargets) {
    Kit::Scene scene(3, 30, 1);
    EXPECT_EQ(most_targets(scene), 1);
}

TEST(SceneTest, FramesAreAboutHalfFull) {
    Kit::Scene scene(3, 30, 1000);
    RO::RadarObjects frame;
    int targets = 0;
    for (int i = 0; i < 100 && scene.next(frame); ++i) targets += frame.targets_size();
    EXPECT_THAT(targets / 100, testing::AllOf(testing::Gt(350), testing::Lt(650)));
}

TEST(SceneTest, ASceneWithoutTargetsHasFrames) {
    Kit::Scene scene(3, 30, 0);
    EXPECT_EQ(most_targets(scene), 0);
}

TEST(SceneTest, TargetsLieInTheFieldOfView) {
    Kit::Scene scene(4);
    RO::RadarObjects frame;
    for (int i = 0; i < 3000 && scene.next(frame); ++i) {
        for (RO::TargetData const& target : frame.targets()) {
            ASSERT_THAT(target.r(), testing::AllOf(testing::Gt(0.3f), testing::Lt(61)));
            ASSERT_LT(std::fabs(target.theta()), 1.1f);
            ASSERT_LT(std::fabs(target.rdot()), 16);
            ASSERT_GE(target.snr(), 8);
        }
    }
}

TEST(SceneTest, RangesChangeByTheRadialSpeed) {
    Kit::Scene scene(5, 10);
    RO::RadarObjects frame;
    RO::RadarObjects later;
    scene.next(frame);
    int moving = 0;
    int continued = 0;
    for (int i = 0; i < 500 && scene.next(later); ++i, frame.Swap(&later)) {
        for (RO::TargetData const& target : frame.targets()) {
            if (std::fabs(target.rdot()) < 3) continue;
            ++moving;
            if (continues(target, later, 0.1f)) ++continued;
        }
    }
    ASSERT_GT(moving, 1000);
    EXPECT_GT(continued, moving * 7 / 10) << "of " << moving;  // the others are false or missed
}

TEST(SceneTest, ThingsMoveToAndFroAndStandStill) {
    Kit::Scene scene(6);
    RO::RadarObjects frame;
    int approaching = 0;
    int standing = 0;
    int receding = 0;
    for (int i = 0; i < 900 && scene.next(frame); ++i) {
        for (RO::TargetData const& target : frame.targets()) {
            ++(target.rdot() < -0.5f ? approaching : target.rdot() > 0.5f ? receding : standing);
        }
    }
    EXPECT_GT(approaching, 900);
    EXPECT_GT(standing, 900);
    EXPECT_GT(receding, 900);
}

TEST(SceneTest, AFrameRateThatIsNoneIsRefused) {
    for (const double rate : {0.0, -1.0, 1e7, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(Kit::Scene(1, rate), Kit::InputError) << rate;
    }
}

TEST(SceneTest, ANegativeNumberOfTargetsIsRefused) {
    EXPECT_THROW(Kit::Scene(1, 30, -1), Kit::InputError);
}

}  // namespace
