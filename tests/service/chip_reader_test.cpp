#include "service/chip_reader.h"

#include <gmock/gmock.h>

#include <memory>

#include "tests/support/captured_log.h"
#include "tests/support/chip_device.h"
#include "tests/support/recordings.h"

namespace {

using Service::Input;
using test_support::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

/** The reader of a chip in this process, which can be disconnected. */
class ChipReaderTest : public testing::Test {
protected:
    ChipReaderTest() {
        reader_ = std::make_unique<Service::ChipReader>(options_, [this] { return now_; });
        test_support::clear_log();
    }

    Input::Result next() { return reader_->next(frame_, conditions_); }

    void measure(uint64_t timestamp, Chip::RadarChip::Disturbance disturbance = {},
                 int targets = 1) {
        chip_.measure(test_support::frame_at(timestamp, targets), disturbance);
    }

    Service::Options options_;
    test_support::ChipDevice device_;
    Chip::RadarChip& chip_ = device_.chip.chip;
    Input::Clock::time_point now_;
    std::unique_ptr<Service::ChipReader> reader_;
    RO::RadarObjects frame_;
    Service::FrameConditions conditions_;
};

TEST_F(ChipReaderTest, AFrameOfTheChipIsTaken) {
    measure(12345);
    EXPECT_EQ(next(), Input::Result::kFrame);
    EXPECT_EQ(frame_.timestamp(), 12345U);
}

TEST_F(ChipReaderTest, WithoutAFrameThereIsNothingYet) {
    EXPECT_EQ(next(), Input::Result::kNothing);
}

TEST_F(ChipReaderTest, WhenThereIsNothingItIsAskedForAgainSoon) {
    next();
    EXPECT_EQ(reader_->due() - now_, std::chrono::milliseconds(5));
}

TEST_F(ChipReaderTest, AfterAFrameTheNextIsAskedForAtOnce) {
    measure(1);
    next();
    EXPECT_EQ(reader_->due(), now_);
}

TEST_F(ChipReaderTest, AChipThatWillHaveNoMoreFramesIsTheEnd) {
    chip_.end_input();
    EXPECT_EQ(next(), Input::Result::kEnd);
}

TEST_F(ChipReaderTest, InterferenceIsACondition) {
    measure(1, {true, false});
    next();
    EXPECT_TRUE(conditions_.interfered);
    EXPECT_FALSE(conditions_.saturated);
}

TEST_F(ChipReaderTest, SaturationIsACondition) {
    measure(1, {false, true});
    next();
    EXPECT_FALSE(conditions_.interfered);
    EXPECT_TRUE(conditions_.saturated);
}

TEST_F(ChipReaderTest, AFrameThatTheChipHadToCutIsSaturated) {
    measure(1, {}, Kit::DemoChip::kTargetLimit + 1);
    next();
    EXPECT_TRUE(conditions_.saturated);
}

TEST_F(ChipReaderTest, AConditionIsOverWithTheNextFrame) {
    measure(1, {true, true});
    next();
    measure(2);
    next();
    EXPECT_FALSE(conditions_.interfered || conditions_.saturated);
}

TEST_F(ChipReaderTest, FramesThatTheChipHasDroppedAreLogged) {
    for (uint64_t i = 0; i < 7; ++i) measure(i);
    next();
    EXPECT_THAT(
        test_support::captured_log(),
        ElementsAre(LogLine{1,
                            "The chip has dropped 3 frames that were not read in time: have it "
                            "report fewer targets, or fewer frames a second (--frame-rate)\n"}));
}

TEST_F(ChipReaderTest, FramesThatTheChipHasDroppedAreCounted) {
    for (uint64_t i = 0; i < 7; ++i) measure(i);
    uint64_t read = 0;
    while (next() == Input::Result::kFrame) ++read;
    EXPECT_EQ(reader_->status().frames_dropped, 3U);
    EXPECT_EQ(read + reader_->status().frames_dropped + reader_->status().frames_torn, 7U);
}

TEST_F(ChipReaderTest, CountsGoOnOverAChipThatWasOpenedAgain) {
    for (uint64_t i = 0; i < 7; ++i) measure(i);
    next();
    device_.connected = false;
    next();
    device_.connected = true;
    now_ += std::chrono::seconds(2);
    next();
    for (uint64_t i = 0; i < 7; ++i) measure(i);
    next();
    EXPECT_EQ(reader_->status().frames_dropped, 6U);
}

TEST_F(ChipReaderTest, ADeviceThatHasGoneIsASilentInput) {
    device_.connected = false;
    EXPECT_EQ(next(), Input::Result::kNothing);
    EXPECT_EQ(next(), Input::Result::kNothing);
}

TEST_F(ChipReaderTest, ADeviceThatHasGoneIsLoggedOnce) {
    device_.connected = false;
    next();
    next();
    EXPECT_THAT(test_support::captured_log(),
                ElementsAre(LogLine{2,
                                    "SPI communication failed: Transport endpoint is not "
                                    "connected\n"}));
}

TEST_F(ChipReaderTest, ADeviceThatHasGoneIsToldInTheStatus) {
    device_.connected = false;
    next();
    EXPECT_EQ(reader_->status().errors, 1U);
    EXPECT_EQ(reader_->status().last_error,
              "SPI communication failed: Transport endpoint is not connected");
}

TEST_F(ChipReaderTest, ADeviceThatHasGoneIsOpenedAgainOnceASecond) {
    device_.connected = false;
    next();
    const int before = device_.opened;
    now_ += std::chrono::milliseconds(999);
    next();
    EXPECT_EQ(device_.opened, before);
    now_ += std::chrono::milliseconds(1);
    next();
    next();
    EXPECT_EQ(device_.opened, before + 1);
}

TEST_F(ChipReaderTest, ADeviceThatIsBackIsProgrammedAndReadAgain) {
    device_.connected = false;
    next();
    device_.connected = true;
    chip_.write(Kit::DemoChip::kReset, Kit::DemoChip::kResetKey, 0xFFFFFFFF);
    now_ += std::chrono::seconds(1);
    next();
    EXPECT_TRUE(chip_.running());
    measure(7);
    EXPECT_EQ(next(), Input::Result::kFrame);
    EXPECT_EQ(test_support::captured_log().back(), (LogLine{0, "The chip answers again\n"}));
}

TEST_F(ChipReaderTest, TheChipIsSetToTheFrameRateThatItIsAskedFor) {
    options_.frame_rate = 25;
    Service::ChipReader reader(options_);
    EXPECT_EQ(chip_.frame_rate(), 25);
}

}  // namespace
