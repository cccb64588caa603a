#include "service/chip_input.h"

#include "tests/service/chip_input_fixture.h"

namespace {

using namespace Kit::DemoChip;
using service_test::kAllOnes;

/** A chip that was opened and programmed. */
class ChipInputTest : public service_test::ChipInputTest {
protected:
    ChipInputTest() { open(); }
};

TEST_F(ChipInputTest, WithoutAFrameAPollCostsOneRead) {
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(), "");
    EXPECT_EQ(chip_.traffic(), 1);
}

TEST_F(ChipInputTest, AFrameArrivesWithAllItHas) {
    RO::RadarObjects sent;
    sent.set_timestamp(0x0123456789ABCDEF);
    RO::TargetData& target = *sent.add_targets();
    target.set_rcs(-20.25F);
    target.set_r(12.34F);
    target.set_rdot(-1.5F);
    target.set_theta(0.25F);
    target.set_options(0xBEEF);
    target.set_snr(18.25F);
    sent.set_magic(29061378);
    chip_.chip.measure(sent, {});
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.DebugString(), sent.DebugString());
}

TEST_F(ChipInputTest, AFrameWithoutTargetsArrives) {
    measure({}, 5);
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.targets_size(), 0);
    EXPECT_EQ(frame_.timestamp(), 5U);
}

TEST_F(ChipInputTest, AFullFrameCostsAsManyMessagesAsThePageSays) {
    measure(std::vector<float>(64, 1.0F));
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.targets_size(), 64);
    EXPECT_EQ(chip_.traffic(), messages_per_frame(64));
}

TEST_F(ChipInputTest, FramesArriveInOrderEachOnce) {
    for (const uint64_t timestamp : {1U, 2U, 3U}) measure({1.0F}, timestamp);
    std::vector<uint64_t> arrived;
    while (poll()) arrived.push_back(frame_.timestamp());
    EXPECT_EQ(arrived, (std::vector<uint64_t>{1, 2, 3}));
    EXPECT_EQ(input_->counters().frames, 3U);
}

TEST_F(ChipInputTest, EventsAreThoseSinceTheLastCall) {
    measure({}, 0, {true, false});
    poll();
    const Service::ChipEvents events = input_->take_events();
    EXPECT_TRUE(events.interference);
    EXPECT_FALSE(events.saturation || events.overflow || events.cut);
    EXPECT_FALSE(input_->take_events().interference);
}

TEST_F(ChipInputTest, SaturationAndACutFrameAreEvents) {
    measure(std::vector<float>(65, 1.0F), 0, {false, true});
    poll();
    const Service::ChipEvents events = input_->take_events();
    EXPECT_TRUE(events.saturation && events.cut);
}

TEST_F(ChipInputTest, FramesThatWereNotReadInTimeAreCounted) {
    for (int i = 0; i < kFrameDepth + 3; ++i) measure({1.0F});
    EXPECT_TRUE(poll());
    EXPECT_TRUE(input_->take_events().overflow);
    EXPECT_EQ(input_->counters().dropped, 3U);
}

TEST_F(ChipInputTest, CountsItsReadsAndWrites) {
    const Service::ChipCounters before = input_->counters();
    measure({1.0F});
    poll();
    EXPECT_EQ(input_->counters().reads - before.reads, 9U);
    EXPECT_EQ(input_->counters().writes - before.writes, 1U);
}

TEST_F(ChipInputTest, WhereverTheBusFailsTheFrameArrivesAtTheNextPoll) {
    for (int message = 1; message <= messages_per_frame(1); ++message) {
        measure({1.0F}, static_cast<uint64_t>(message));
        device_.fail_message(message);
        EXPECT_FALSE(poll()) << message;
        EXPECT_EQ(input_->problem(), "SPI communication failed: Input/output error") << message;
        ASSERT_TRUE(poll()) << message;
        EXPECT_EQ(frame_.timestamp(), static_cast<uint64_t>(message));
        EXPECT_EQ(input_->problem(), "") << message;
    }
    EXPECT_EQ(input_->counters().failures, static_cast<uint64_t>(messages_per_frame(1)));
}

TEST_F(ChipInputTest, AFrameThatSomebodyElseTookIsNotReturned) {
    measure({1.0F}, 1);
    measure({2.0F}, 2);
    chip_.on_read = [this](uint16_t address) {
        if (address != target_register(0, 1)) return;
        chip_.on_read = nullptr;
        chip_.chip.write(kAcknowledge, 1, kAllOnes);
    };
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->counters().torn, 1U);
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.timestamp(), 2U);
}

TEST_F(ChipInputTest, AFrameWhoseAcknowledgementWasLostIsReturnedOnce) {
    measure({1.0F}, 1);
    measure({2.0F}, 2);
    chip_.deaf_address = kAcknowledge;
    EXPECT_TRUE(poll());
    chip_.deaf_address = -1;
    EXPECT_FALSE(poll());
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.timestamp(), 2U);
}

TEST_F(ChipInputTest, TheInputHasEndedWhenTheLastFrameWasRead) {
    measure({1.0F});
    chip_.chip.end_input();
    EXPECT_TRUE(poll());
    EXPECT_FALSE(input_->ended());
    EXPECT_FALSE(poll());
    EXPECT_TRUE(input_->ended());
}

TEST_F(ChipInputTest, AChipThatLostItsSettingsIsAProblem) {
    chip_.chip.write(kReset, kResetKey, kAllOnes);
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(),
              "/dev/spidev0.0: the chip has stopped measuring, status reads 0x00000000");
}

TEST_F(ChipInputTest, AStatusOfOnesIsAProblem) {
    chip_.answers[kStatus] = kAllOnes;
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(),
              "/dev/spidev0.0: the chip does not answer, status reads 0xffffffff");
    EXPECT_EQ(input_->counters().failures, 1U);
}

TEST_F(ChipInputTest, ACountThatTheWindowHasNoRoomForIsAProblem) {
    measure({1.0F});
    chip_.answers[kFrame] = 65;
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(), "/dev/spidev0.0: a frame of 65 targets, the chip has room for 64");
}

}  // namespace
