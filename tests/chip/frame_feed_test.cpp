#include "chip/frame_feed.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kit/base/input_error.h"

namespace {

using namespace Kit::DemoChip;
using std::chrono::milliseconds;

/** Frames at given times, in ms; counts how often it began again. */
class ListedFrames : public Kit::FrameSource {
public:
    explicit ListedFrames(std::vector<uint64_t> times, int& rewinds)
        : times_(std::move(times)), rewinds_(rewinds) {}

    bool next(RO::RadarObjects& frame) override {
        if (next_ == times_.size()) return false;
        frame.Clear();
        frame.set_timestamp(times_[next_++] * 1000);
        return true;
    }
    void rewind() override {
        next_ = 0;
        ++rewinds_;
    }

private:
    std::vector<uint64_t> times_;
    int& rewinds_;
    size_t next_ = 0;
};

/** Two frames 10 ms apart, then damage. */
class DamagedFrames : public Kit::FrameSource {
public:
    bool next(RO::RadarObjects& frame) override {
        if (++count_ > 2) throw Kit::InputError("log.csv:4:1: not a number");
        frame.Clear();
        frame.set_timestamp(10000 * count_);
        return true;
    }
    void rewind() override { count_ = 0; }

private:
    uint64_t count_ = 0;
};

class FrameFeedTest : public testing::Test {
protected:
    void open(std::vector<uint64_t> times) {
        open(std::make_unique<ListedFrames>(std::move(times), rewinds_));
    }
    void open(std::unique_ptr<Kit::FrameSource> source) {
        feed_ = std::make_unique<Chip::FrameFeed>(
            std::move(source), chip_, settings_,
            [this](std::string const& problem) { problems_.push_back(problem); });
    }

    void control(uint32_t rate, uint32_t enabled = 1) {
        chip_.write(kControl, insert(kEnable, enabled) | insert(kFrameRate, rate), 0xFFFFFFFF);
    }

    /** The timestamps in ms of the frames that are in the chip `at` ms after the test's start. */
    std::vector<uint64_t> frames_at(int at) {
        feed_->advance(time(at));
        std::vector<uint64_t> times;
        while (extract(kFrameReady, chip_.read(kStatus)) != 0) {
            times.push_back(chip_.read(kTimestampLow) / 1000);
            chip_.write(kAcknowledge, chip_.read(kSequence), 0xFFFFFFFF);
        }
        return times;
    }

    static Chip::FrameFeed::Clock::time_point time(int at) {
        return Chip::FrameFeed::Clock::time_point(milliseconds(1000 + at));
    }

    using Times = std::vector<uint64_t>;

    Chip::RadarChip chip_;
    Chip::FrameFeed::Settings settings_;
    std::unique_ptr<Chip::FrameFeed> feed_;
    std::vector<std::string> problems_;
    int rewinds_ = 0;
};

TEST_F(FrameFeedTest, NothingIsDueWhileTheChipIsOff) {
    open({0, 10});
    EXPECT_EQ(frames_at(0), Times());
    EXPECT_EQ(feed_->next_due(), std::nullopt);
}

TEST_F(FrameFeedTest, TheFirstFrameIsDueWhenTheChipIsEnabled) {
    open({500, 510});
    frames_at(0);
    control(0);
    EXPECT_EQ(frames_at(70), Times{500});
    EXPECT_EQ(feed_->next_due(), time(80));
}

TEST_F(FrameFeedTest, FramesKeepTheirOwnPace) {
    open({0, 10, 40});
    control(0);
    frames_at(0);
    EXPECT_EQ(frames_at(9), Times());
    EXPECT_EQ(frames_at(10), Times{10});
    EXPECT_EQ(frames_at(39), Times());
    EXPECT_EQ(frames_at(40), Times{40});
}

TEST_F(FrameFeedTest, AGapIsKept) {
    open({0, 10, 90000});
    control(0);
    frames_at(0);
    frames_at(10);
    EXPECT_EQ(feed_->next_due(), time(90000));
}

TEST_F(FrameFeedTest, AGapThatIsToBeSkippedCountsAsOneFrame) {
    settings_.skip_gaps = true;
    open({0, 10, 90000});
    control(0);
    frames_at(0);
    frames_at(10);
    EXPECT_EQ(feed_->next_due(), time(20));
}

TEST_F(FrameFeedTest, ALateLookFindsEveryFrameThatWasDue) {
    open({0, 10, 20, 90});
    control(0);
    frames_at(0);
    EXPECT_EQ(frames_at(50), (Times{10, 20}));
}

TEST_F(FrameFeedTest, ARateOfTwoHalvesTheSteps) {
    settings_.rate = 2;
    open({0, 10});
    control(0);
    frames_at(0);
    EXPECT_EQ(feed_->next_due(), time(5));
}

TEST_F(FrameFeedTest, TheHostsFrameRateComesFirst) {
    settings_.frame_rate = 10;
    open({0, 10, 20});
    control(50);
    frames_at(0);
    EXPECT_EQ(frames_at(19), Times());
    EXPECT_EQ(frames_at(20), Times{10});
}

TEST_F(FrameFeedTest, TheChipsFrameRateHoldsWhereTheHostHasNone) {
    settings_.frame_rate = 10;
    open({0, 10});
    control(0);
    frames_at(0);
    EXPECT_EQ(feed_->next_due(), time(100));
}

TEST_F(FrameFeedTest, AnotherFrameRateHoldsFromThenOn) {
    open({0, 10, 20, 30});
    control(10);
    frames_at(0);
    control(50);
    EXPECT_EQ(frames_at(5), Times{10});
    EXPECT_EQ(feed_->next_due(), time(25));
}

TEST_F(FrameFeedTest, ADisabledChipStopsTheSource) {
    open({0, 10, 20});
    control(0);
    frames_at(0);
    control(0, 0);
    EXPECT_EQ(frames_at(100), Times());
    control(0, 1);
    EXPECT_EQ(frames_at(200), Times{10});
    EXPECT_EQ(feed_->next_due(), time(210));
}

TEST_F(FrameFeedTest, TheEndOfTheSourceIsToldToTheHost) {
    open(Times{0});
    control(0);
    EXPECT_EQ(frames_at(0), Times{0});
    EXPECT_EQ(extract(kInputEnded, chip_.read(kStatus)), 1U);
    EXPECT_EQ(feed_->next_due(), std::nullopt);
}

TEST_F(FrameFeedTest, WithLoopTheSourceBeginsAgain) {
    settings_.loop = true;
    open({0, 10});
    control(0);
    EXPECT_EQ(frames_at(0), Times{0});
    EXPECT_EQ(frames_at(20), (Times{10, 0}));
    EXPECT_EQ(extract(kInputEnded, chip_.read(kStatus)), 0U);
}

TEST_F(FrameFeedTest, ASourceWithoutFramesEndsAlsoWithLoop) {
    settings_.loop = true;
    open(Times());
    control(0);
    EXPECT_EQ(frames_at(0), Times());
    EXPECT_EQ(extract(kInputEnded, chip_.read(kStatus)), 1U);
    EXPECT_EQ(rewinds_, 1);
}

TEST_F(FrameFeedTest, DamageIsReportedOnceAndEndsTheSource) {
    open(std::make_unique<DamagedFrames>());
    control(0);
    EXPECT_EQ(frames_at(0), Times{10});
    EXPECT_EQ(frames_at(10), Times{20});
    frames_at(100);
    EXPECT_EQ(problems_, std::vector<std::string>{"log.csv:4:1: not a number"});
    EXPECT_EQ(extract(kInputEnded, chip_.read(kStatus)), 1U);
    EXPECT_TRUE(feed_->failed());
}

TEST_F(FrameFeedTest, ASourceThatHasEndedHasNotFailed) {
    open({0, 10});
    control(0);
    frames_at(100);
    EXPECT_FALSE(feed_->failed());
}

TEST_F(FrameFeedTest, EverySoManyFramesOneIsDisturbed) {
    settings_.interference_every = 2;
    settings_.saturation_every = 3;
    open({0, 10, 20, 30});
    control(0);
    std::vector<uint32_t> events;
    for (const int at : {0, 10, 20, 30}) {
        frames_at(at);
        events.push_back(chip_.read(kEvents));
    }
    EXPECT_EQ(events, (std::vector<uint32_t>{0, insert(kInterference, 1), insert(kSaturation, 1),
                                             insert(kInterference, 1)}));
}

}  // namespace
