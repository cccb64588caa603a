#include "kit/frames/detection_log.h"

#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>

#include "tests/kit/frames/detection_log_fixture.h"
#include "tests/support/page.h"

namespace {

using detections_test::kHeader;
using detections_test::kPath;

class DetectionLogTest : public detections_test::DetectionLogTest {};

TEST_F(DetectionLogTest, ALineBecomesATargetOfAFrame) {
    const auto read = frames(std::string(kHeader) + "3,1500000,-5.5,12.25,-1.5,0.125,7,20.5\n");
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].DebugString(),
              "magic: 29061378\ntimestamp: 1500000\ntargets {\n  rcs: -5.5\n  r: 12.25\n"
              "  rdot: -1.5\n  theta: 0.125\n  options: 7\n  snr: 20.5\n}\n");
}

TEST_F(DetectionLogTest, AdjacentLinesOfOneFrameIndexAreOneFrame) {
    const auto read = frames(std::string(kHeader) +
                             "0,10,0,1,0,0,0,0\n0,10,0,2,0,0,0,0\n"
                             "5,20,0,3,0,0,0,0\n");
    ASSERT_EQ(read.size(), 2u);
    ASSERT_EQ(read[0].targets_size(), 2);
    EXPECT_EQ(read[0].targets(1).r(), 2);
    ASSERT_EQ(read[1].targets_size(), 1);
    EXPECT_EQ(read[1].timestamp(), 20u);
}

TEST_F(DetectionLogTest, TheHeaderLineGivesTheOrderOfTheColumns) {
    const auto read =
        frames("snr,options,theta,rdot,r,rcs,timestamp_us,frame_index\n1,2,3,4,5,6,7,8\n");
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].timestamp(), 7u);
    EXPECT_EQ(read[0].targets(0).snr(), 1);
    EXPECT_EQ(read[0].targets(0).rcs(), 6);
}

TEST_F(DetectionLogTest, AHeaderLineAloneIsALogWithoutFrames) {
    EXPECT_EQ(frames(kHeader).size(), 0u);
}

TEST_F(DetectionLogTest, LinesMayEndWithCarriageReturns) {
    EXPECT_EQ(frames("frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\r\n"
                     "0,10,0,1,0,0,0,0\r\n1,11,0,1,0,0,0,2.5\r\n")
                  .at(1)
                  .targets(0)
                  .snr(),
              2.5);
}

TEST_F(DetectionLogTest, TheLastLineMayEndWithTheFile) {
    EXPECT_EQ(frames(std::string(kHeader) + "0,10,0,1,0,0,0,0\n1,11,0,1,0,0,0,2.5").size(), 2u);
}

TEST_F(DetectionLogTest, LargestNumbersAreRead) {
    const auto read = frames(std::string(kHeader) +
                             "18446744073709551615,18446744073709551615,3.4028235e38,0,0,0,"
                             "4294967295,-1e-50\n");
    EXPECT_EQ(read.at(0).timestamp(), 18446744073709551615u);
    EXPECT_EQ(read.at(0).targets(0).rcs(), std::numeric_limits<float>::max());
    EXPECT_EQ(read.at(0).targets(0).options(), 4294967295u);
    EXPECT_EQ(read.at(0).targets(0).snr(), 0);
}

TEST_F(DetectionLogTest, RewindingGoesBackToTheFirstFrame) {
    test_support::write_file(kPath, std::string(kHeader) +
                                        "0,10,0,1,0,0,0,0\n"
                                        "1,11,0,1,0,0,0,0\n");
    Kit::DetectionLog log(kPath);
    RO::RadarObjects frame;
    ASSERT_TRUE(log.next(frame));
    log.rewind();
    EXPECT_EQ(frames(log).size(), 2u);
}

TEST_F(DetectionLogTest, AFrameIsReplacedWithAllThatItHeld) {
    test_support::write_file(kPath, std::string(kHeader) + "0,10,0,1,0,0,0,0\n");
    Kit::DetectionLog log(kPath);
    RO::RadarObjects frame;
    frame.add_targets()->set_rcs(99);
    frame.add_targets();
    ASSERT_TRUE(log.next(frame));
    ASSERT_EQ(frame.targets_size(), 1);
    EXPECT_EQ(frame.targets(0).rcs(), 0);
}

TEST_F(DetectionLogTest, ALargeFileNeedsNoMoreMemoryThanASmallOne) {
    std::ofstream file(kPath);
    file << kHeader;
    for (int i = 0; i < 400000; ++i) file << i << "," << i << ",1.25,2.5,0,0.125,0,20.5\n";
    file.close();
    ASSERT_GT(std::filesystem::file_size(kPath), 12u << 20);
    struct rusage before = {};
    getrusage(RUSAGE_SELF, &before);
    Kit::DetectionLog log(kPath);
    RO::RadarObjects frame;
    int count = 0;
    while (log.next(frame)) ++count;
    struct rusage after = {};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_EQ(count, 400000);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 4096) << "KiB";
}

TEST_F(DetectionLogTest, TheExampleOfThePageIsRead) {
    const auto read = frames(test_support::code_block("detection-log.md", "csv"));
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].targets_size(), 2);
    EXPECT_EQ(read[0].targets(1).options(), 300u);
    EXPECT_EQ(read[1].timestamp(), 1561758000173456u);
}

TEST_F(DetectionLogTest, TheMessageOfThePageIsTheOneForItsPlace) {
    std::string log = test_support::code_block("detection-log.md", "csv");
    log.replace(log.find("0,0,300"), 3, "0,left");
    EXPECT_EQ(problem(log) + "\n", "/tmp/" + test_support::code_block("detection-log.md", "text"));
}

/** How many frames and targets a log has. */
std::pair<size_t, int> count(std::string const& path) {
    Kit::DetectionLog log(path);
    size_t frame_count = 0;
    int target_count = 0;
    RO::RadarObjects frame;
    while (log.next(frame)) {
        ++frame_count;
        target_count += frame.targets_size();
    }
    return {frame_count, target_count};
}

std::string sample(std::string const& name) {
    return std::string(PETRELRADAR_SOURCE_DIR) + "/samples/" + name;
}

TEST(DetectionLogSampleTest, EveryFrameAndTargetOfAWalkIsRead) {
    EXPECT_EQ(count(sample("walk.csv")), (std::pair<size_t, int>(201, 4501)));
}

TEST(DetectionLogSampleTest, EveryFrameAndTargetOfARoadIsRead) {
    EXPECT_EQ(count(sample("road.csv")), (std::pair<size_t, int>(201, 1935)));
}

TEST(DetectionLogSampleTest, TheFirstTargetHasTheValuesOfTheFirstLine) {
    Kit::DetectionLog log(sample("walk.csv"));
    RO::RadarObjects frame;
    ASSERT_TRUE(log.next(frame));
    EXPECT_EQ(frame.timestamp(), 1561682039364366u);
    EXPECT_EQ(frame.targets(0).rcs(), -56.4f);
    EXPECT_EQ(frame.targets(0).r(), 0.044f);
    EXPECT_EQ(frame.targets(0).theta(), -1.279f);
    EXPECT_EQ(frame.targets(0).snr(), 30.7f);
}

/** The whole logs that the samples are from; scripts/run-tests excludes these tests without them.
 */
class LargeDetectionLogTest : public testing::Test {
protected:
    static std::string path(std::string const& name) {
        return std::string(std::getenv("PETRELRADAR_DETECTION_LOGS")) + "/" + name;
    }

    void SetUp() override {
        if (std::getenv("PETRELRADAR_DETECTION_LOGS") == nullptr) {
            GTEST_SKIP() << "PETRELRADAR_DETECTION_LOGS names no folder of detection logs";
        }
    }

    /** Expects of a sample that it is one in `step` frames of a log, with rounded values. */
    static void expect_rounded(std::string const& name, std::string const& log_name, int step,
                               double range_error, double angle_error) {
        Kit::DetectionLog log(path(log_name));
        Kit::DetectionLog rounded(sample(name));
        RO::RadarObjects whole;
        RO::RadarObjects frame;
        while (rounded.next(frame)) {
            ASSERT_TRUE(log.next(whole));
            ASSERT_EQ(frame.timestamp(), whole.timestamp());
            ASSERT_EQ(frame.targets_size(), whole.targets_size());
            for (int i = 0; i < frame.targets_size(); ++i) {
                EXPECT_NEAR(frame.targets(i).r(), whole.targets(i).r(), range_error);
                EXPECT_NEAR(frame.targets(i).theta(), whole.targets(i).theta(), angle_error);
                EXPECT_NEAR(frame.targets(i).rdot(), whole.targets(i).rdot(), 0.00501);
                EXPECT_NEAR(frame.targets(i).rcs(), whole.targets(i).rcs(), 0.0501);
                EXPECT_NEAR(frame.targets(i).snr(), whole.targets(i).snr(), 0.0501);
            }
            for (int i = 1; i < step; ++i) log.next(whole);
        }
    }
};

TEST_F(LargeDetectionLogTest, EveryFrameAndTargetOfAWalkIsRead) {
    EXPECT_EQ(count(path("radhar_walk_small.csv")), (std::pair<size_t, int>(601, 13411)));
}

TEST_F(LargeDetectionLogTest, EveryFrameAndTargetOfTenRecordingsIsRead) {
    EXPECT_EQ(count(path("radhar_targets.csv")), (std::pair<size_t, int>(6015, 132551)));
}

TEST_F(LargeDetectionLogTest, EveryFrameAndTargetOfARoadIsRead) {
    EXPECT_EQ(count(path("comma2k19_road.csv")), (std::pair<size_t, int>(1200, 10100)));
}

TEST_F(LargeDetectionLogTest, TheSampleOfAWalkIsOneInThreeOfItsFrames) {
    expect_rounded("walk.csv", "radhar_walk_small.csv", 3, 0.000501, 0.000501);
}

TEST_F(LargeDetectionLogTest, TheSampleOfARoadIsOneInTwoOfItsFrames) {
    expect_rounded("road.csv", "comma2k19_road.csv", 2, 0.00501, 0.0000501);
}

}  // namespace
