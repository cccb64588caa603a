#include "chip/radar_chip.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Kit::DemoChip;

constexpr uint32_t kAllOnes = 0xFFFFFFFF;

RO::RadarObjects frame_of(std::vector<float> const& ranges, uint64_t timestamp = 0) {
    RO::RadarObjects frame;
    frame.set_timestamp(timestamp);
    for (const float range : ranges) {
        RO::TargetData& target = *frame.add_targets();
        target.set_r(range);
        target.set_snr(range);
    }
    return frame;
}

class RadarChipTest : public testing::Test {
protected:
    uint32_t read(int32_t address) { return chip_.read(static_cast<uint16_t>(address)); }
    uint32_t read(Radar::RadarField const& field) { return extract(field, read(field.address)); }

    void write(int32_t address, uint32_t value, uint32_t mask = kAllOnes) {
        chip_.write(static_cast<uint16_t>(address), value, mask);
    }

    void enable() { write(kControl, kControlAtReset | insert(kEnable, 1)); }

    void measure(RO::RadarObjects const& frame) { chip_.measure(frame, {}); }

    void measure_times(int count) {
        for (int i = 0; i < count; ++i) measure(frame_of({1.0F}));
    }

    std::vector<uint32_t> ranges_in_window() {
        std::vector<uint32_t> ranges;
        for (uint32_t i = 0; i < read(kTargetCount); ++i) {
            ranges.push_back(read(target_register(static_cast<int>(i), 0)) & 0xFFFF);
        }
        return ranges;
    }

    Chip::RadarChip chip_;
};

class EnabledChipTest : public RadarChipTest {
protected:
    EnabledChipTest() { enable(); }
};

TEST_F(RadarChipTest, SaysWhatItIs) {
    EXPECT_EQ(read(kIdentification), kIdentificationValue);
    EXPECT_EQ(read(kMajorVersion), kMajorVersionValue);
}

TEST_F(RadarChipTest, ReadOnlyRegistersIgnoreWrites) {
    for (MapEntry const& entry : register_map()) {
        if (entry.access != "r" && entry.access != "rc") continue;
        const uint32_t before = read(entry.address);
        write(entry.address, ~before);
        EXPECT_EQ(read(entry.address), before) << entry.name;
    }
}

TEST_F(RadarChipTest, WriteOnlyRegistersReadZero) {
    write(kAcknowledge, 5);
    EXPECT_EQ(read(kAcknowledge), 0U);
    EXPECT_EQ(read(kReset), 0U);
}

TEST_F(RadarChipTest, AnAddressWithoutARegisterReadsZeroAndIgnoresWrites) {
    for (const int32_t address : {0x0001, 0x0040, 0x0400, 0x1000, 0xFFFF}) {
        write(address, kAllOnes);
        EXPECT_EQ(read(address), 0U) << address;
    }
}

TEST_F(RadarChipTest, ScratchKeepsWhatIsWritten) {
    write(kScratch, 0xA5A55A5A);
    EXPECT_EQ(read(kScratch), 0xA5A55A5AU);
}

TEST_F(RadarChipTest, AWriteTouchesTheBitsOfItsMask) {
    write(kScratch, 0xA5A55A5A);
    write(kScratch, 0x1234, 0xFFFF);
    EXPECT_EQ(read(kScratch), 0xA5A51234U);
}

TEST_F(RadarChipTest, BitsOutsideTheFieldsReadZero) {
    write(kControl, kAllOnes);
    EXPECT_EQ(read(kControl), 0x007FFF01U);
    write(kDetection, kAllOnes);
    EXPECT_EQ(read(kDetection), 0x0000FFFFU);
}

TEST_F(RadarChipTest, IsOffWithRoomFor64TargetsAtPowerOn) {
    EXPECT_FALSE(chip_.running());
    EXPECT_EQ(read(kMaxTargets), 64U);
    EXPECT_EQ(read(kStatus), 0U);
}

TEST_F(RadarChipTest, MeasuresNothingWhileItIsOff) {
    measure_times(1);
    EXPECT_EQ(read(kFrameReady), 0U);
}

TEST_F(RadarChipTest, TellsTheFrameRateThatTheHostAsksFor) {
    write(kControl, insert(kFrameRate, 25));
    EXPECT_EQ(chip_.frame_rate(), 25);
}

TEST_F(EnabledChipTest, AnEmptyWindowReadsZero) {
    EXPECT_EQ(read(kSequence), 0U);
    EXPECT_EQ(read(kFrame), 0U);
    EXPECT_EQ(read(target_register(0, 0)), 0U);
}

TEST_F(EnabledChipTest, AFrameIsInTheWindowWithAllItHas) {
    measure(frame_of({1.0F, 2.5F}, 0x0123456789ABCDEF));
    EXPECT_EQ(read(kFrameReady), 1U);
    EXPECT_EQ(read(kSequence), 1U);
    EXPECT_EQ(read(kTimestampLow), 0x89ABCDEFU);
    EXPECT_EQ(read(kTimestampHigh), 0x01234567U);
    EXPECT_EQ(ranges_in_window(), (std::vector<uint32_t>{100, 250}));
}

TEST_F(EnabledChipTest, AFrameOf64TargetsFillsTheWindow) {
    measure(frame_of(std::vector<float>(64, 3.0F)));
    EXPECT_EQ(read(kTargetCount), 64U);
    EXPECT_EQ(read(target_register(63, 0)), 300U);
    EXPECT_EQ(read(target_register(63, 2)), 300U);
}

TEST_F(EnabledChipTest, RegistersBehindTheLastTargetReadZero) {
    measure(frame_of({1.0F}));
    EXPECT_EQ(read(target_register(1, 0)), 0U);
}

TEST_F(EnabledChipTest, AFrameStaysInTheWindowUntilItIsAcknowledged) {
    measure(frame_of({1.0F}));
    measure(frame_of({2.0F}));
    EXPECT_EQ(ranges_in_window(), std::vector<uint32_t>{100});
    write(kAcknowledge, 1);
    EXPECT_EQ(ranges_in_window(), std::vector<uint32_t>{200});
    EXPECT_EQ(read(kSequence), 2U);
}

TEST_F(EnabledChipTest, AcknowledgingAnotherFrameDoesNothing) {
    measure_times(2);
    write(kAcknowledge, 2);
    EXPECT_EQ(read(kSequence), 1U);
}

TEST_F(EnabledChipTest, AcknowledgingWithAnEmptyWindowDoesNothing) {
    write(kAcknowledge, 0);
    measure_times(1);
    EXPECT_EQ(read(kSequence), 1U);
}

TEST_F(EnabledChipTest, StatusCountsTheFramesToBeRead) {
    measure_times(3);
    EXPECT_EQ(read(kWaiting), 3U);
    write(kAcknowledge, 1);
    EXPECT_EQ(read(kWaiting), 2U);
}

TEST_F(EnabledChipTest, WithoutRoomTheOldestFrameBehindTheWindowIsDropped) {
    measure_times(kFrameDepth + 1);
    EXPECT_EQ(read(kSequence), 1U);
    write(kAcknowledge, 1);
    EXPECT_EQ(read(kSequence), 3U);
    EXPECT_EQ(read(kDropped), 1U);
}

TEST_F(EnabledChipTest, ADroppedFrameIsAnOverflow) {
    measure_times(kFrameDepth);
    EXPECT_EQ(read(kEvent), 0U);
    measure_times(1);
    EXPECT_EQ(read(kEvent), 1U);
    EXPECT_EQ(read(kEvents), insert(kOverflow, 1));
}

TEST_F(EnabledChipTest, ReadingTheEventsClearsThem) {
    chip_.measure(frame_of({}), {true, false});
    EXPECT_EQ(read(kEvents), insert(kInterference, 1));
    EXPECT_EQ(read(kEvents), 0U);
    EXPECT_EQ(read(kEvent), 0U);
}

TEST_F(EnabledChipTest, EventsGatherUntilTheyAreRead) {
    chip_.measure(frame_of({}), {true, false});
    chip_.measure(frame_of({}), {false, true});
    EXPECT_EQ(read(kEvents), insert(kInterference, 1) | insert(kSaturation, 1));
}

TEST_F(EnabledChipTest, AFrameKeepsTheFlagsOfItsOwnMeasurement) {
    chip_.measure(frame_of({}), {false, true});
    chip_.measure(frame_of({}), {true, false});
    EXPECT_EQ(read(kFrame), insert(kFrameSaturation, 1));
    write(kAcknowledge, 1);
    EXPECT_EQ(read(kFrame), insert(kFrameInterference, 1));
}

TEST_F(EnabledChipTest, TargetsBeyondTheLimitAreLeftOutAndFlagged) {
    write(kControl, insert(kEnable, 1) | insert(kMaxTargets, 2));
    measure(frame_of({1.0F, 2.0F, 3.0F}));
    EXPECT_EQ(ranges_in_window(), (std::vector<uint32_t>{100, 200}));
    EXPECT_EQ(read(kFrameCut), 1U);
    EXPECT_EQ(read(kCut), 1U);
}

TEST_F(EnabledChipTest, ALimitAbove64IsOneOf64) {
    write(kControl, insert(kEnable, 1) | insert(kMaxTargets, 127));
    measure(frame_of(std::vector<float>(65, 1.0F)));
    EXPECT_EQ(read(kTargetCount), 64U);
    EXPECT_EQ(read(kFrameCut), 1U);
}

TEST_F(EnabledChipTest, AsManyTargetsAsTheLimitAreNoCut) {
    measure(frame_of(std::vector<float>(64, 1.0F)));
    EXPECT_EQ(read(kFrameCut), 0U);
    EXPECT_EQ(read(kEvents), 0U);
}

TEST_F(EnabledChipTest, TargetsWeakerThanTheMinimumAreNotReported) {
    write(kDetection, 200);
    measure(frame_of({1.99F, 2.0F, 3.0F}));
    EXPECT_EQ(ranges_in_window(), (std::vector<uint32_t>{200, 300}));
}

TEST_F(EnabledChipTest, TargetsOutsideTheRangeGateAreNotReported) {
    write(kRangeGate, insert(kNearest, 100) | insert(kFarthest, 300));
    measure(frame_of({0.99F, 1.0F, 3.0F, 3.01F}));
    EXPECT_EQ(ranges_in_window(), (std::vector<uint32_t>{100, 300}));
}

TEST_F(EnabledChipTest, TargetsThatAreNotReportedDoNotCountForTheLimit) {
    write(kControl, insert(kEnable, 1) | insert(kMaxTargets, 1));
    write(kRangeGate, insert(kNearest, 200));
    measure(frame_of({1.0F, 2.0F}));
    EXPECT_EQ(ranges_in_window(), std::vector<uint32_t>{200});
    EXPECT_EQ(read(kFrameCut), 0U);
}

TEST_F(EnabledChipTest, DisablingForgetsTheFrames) {
    measure_times(2);
    write(kControl, kControlAtReset);
    EXPECT_EQ(read(kStatus), 0U);
}

TEST_F(EnabledChipTest, EnablingAgainKeepsTheNumbersRunning) {
    measure_times(2);
    write(kControl, kControlAtReset);
    enable();
    measure_times(1);
    EXPECT_EQ(read(kSequence), 3U);
}

TEST_F(EnabledChipTest, TheResetKeyGivesEveryRegisterItsValueAtPowerOn) {
    measure_times(kFrameDepth + 1);
    for (const int32_t address : {kScratch, kDetection, kRangeGate}) write(address, 1);
    write(kReset, kResetKey);
    Chip::RadarChip fresh;
    for (MapEntry const& entry : register_map()) {
        EXPECT_EQ(read(entry.address), fresh.read(static_cast<uint16_t>(entry.address)))
            << entry.name;
    }
}

TEST_F(EnabledChipTest, AnotherValueInTheResetRegisterDoesNothing) {
    write(kReset, 1);
    write(kReset, kResetKey, 0xFFFF);
    EXPECT_TRUE(chip_.running());
}

TEST_F(EnabledChipTest, NumbersBeginAgainAfterAReset) {
    measure_times(2);
    write(kReset, kResetKey);
    enable();
    measure_times(1);
    EXPECT_EQ(read(kSequence), 1U);
}

TEST_F(EnabledChipTest, TheEndOfTheInputShowsBesideFramesThatAreStillToBeRead) {
    measure_times(1);
    chip_.end_input();
    EXPECT_EQ(read(kInputEnded), 1U);
    EXPECT_EQ(read(kFrameReady), 1U);
}

}  // namespace
