// How a chip is recognised and programmed.

#include <system_error>

#include "tests/service/chip_input_fixture.h"

namespace {

using namespace Kit::DemoChip;
using service_test::kAllOnes;

class ChipProgrammingTest : public service_test::ChipInputTest {};

TEST_F(ChipProgrammingTest, TheChipIsProgrammedWithTheSettings) {
    Service::ChipSettings settings;
    settings.frame_rate = 25;
    settings.max_targets = 32;
    settings.minimum_snr = 12.5;
    settings.nearest = 0.3;
    settings.farthest = 60;
    open(settings);
    EXPECT_EQ(chip_.field(kEnable), 1U);
    EXPECT_EQ(chip_.field(kFrameRate), 25U);
    EXPECT_EQ(chip_.field(kMaxTargets), 32U);
    EXPECT_EQ(chip_.field(kMinimumSnr), 1250U);
    EXPECT_EQ(chip_.field(kNearest), 30U);
    EXPECT_EQ(chip_.field(kFarthest), 6000U);
}

TEST_F(ChipProgrammingTest, SettingsBeyondARegisterAreLimitedToIt) {
    Service::ChipSettings settings;
    settings.frame_rate = 1000;
    settings.max_targets = 1000;
    settings.farthest = 1000;
    settings.nearest = -1;
    open(settings);
    EXPECT_EQ(chip_.field(kFrameRate), 255U);
    EXPECT_EQ(chip_.field(kMaxTargets), 64U);
    EXPECT_EQ(chip_.field(kFarthest), 65535U);
    EXPECT_EQ(chip_.field(kNearest), 0U);
}

TEST_F(ChipProgrammingTest, AChipThatIsRunningAlreadyIsResetFirst) {
    open();
    measure({1.0F});
    open();
    EXPECT_EQ(chip_.field(kWaiting), 0U);
    measure({1.0F});
    EXPECT_TRUE(poll());
}

TEST_F(ChipProgrammingTest, ADeviceThatCannotBeOpenedIsReportedByTheLibrary) {
    device_.calls.open = test_support::fails_with(ENODEV);
    try {
        open();
        FAIL() << "nothing was thrown";
    } catch (std::system_error const& error) {
        EXPECT_EQ(error.code().value(), ENODEV);
    }
}

TEST_F(ChipProgrammingTest, ABusThatFailsWhileProgrammingIsReportedByTheLibrary) {
    device_.fail_message(6);
    EXPECT_THROW(open(), std::system_error);
}

TEST_F(ChipProgrammingTest, ABusOfZerosIsNoChip) {
    chip_.answers[kIdentification] = 0;
    EXPECT_EQ(
        refusal(),
        "/dev/spidev0.0: no chip answers to command byte 32, identification reads 0x00000000");
}

TEST_F(ChipProgrammingTest, ABusOfOnesIsNoChip) {
    chip_.answers[kIdentification] = kAllOnes;
    EXPECT_EQ(
        refusal(),
        "/dev/spidev0.0: no chip answers to command byte 32, identification reads 0xffffffff");
}

TEST_F(ChipProgrammingTest, AnotherChipIsRefusedAndNotWrittenTo) {
    chip_.answers[kIdentification] = 0x12345678;
    EXPECT_EQ(refusal(),
              "/dev/spidev0.0: another chip, identification reads 0x12345678, not 0x31445250");
    EXPECT_EQ(chip_.traffic(), 1);
}

TEST_F(ChipProgrammingTest, AnotherMajorVersionIsRefused) {
    chip_.answers[kVersion] = 0x00020000;
    EXPECT_EQ(refusal(), "/dev/spidev0.0: version 2 of the chip, version 1 is known");
}

TEST_F(ChipProgrammingTest, AnotherMinorVersionIsWelcome) {
    chip_.answers[kVersion] = 0x00010203;
    EXPECT_EQ(refusal(), "none");
}

TEST_F(ChipProgrammingTest, AChipThatDoesNotTakeWritesIsRefused) {
    chip_.deaf_address = kScratch;
    EXPECT_EQ(refusal(),
              "/dev/spidev0.0: what is written does not arrive, scratch reads 0x00000000, not "
              "0xa55a3cc3");
}

TEST_F(ChipProgrammingTest, CountsWhatProgrammingTook) {
    input_ = std::make_unique<Service::ChipInput>(Service::ChipSettings());
    const Service::ChipCounters counters = input_->counters();
    EXPECT_EQ(counters.reads + counters.writes, static_cast<uint64_t>(chip_.traffic()));
}

}  // namespace
