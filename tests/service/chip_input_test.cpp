#include "service/chip_input.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "chip/client_memory.h"
#include "chip/radar_chip.h"
#include "chip/spi_slave.h"
#include "chip/spidev.h"
#include "kit/input_error.h"
#include "support/system_calls.h"

namespace {

using namespace Kit::DemoChip;

constexpr uint32_t kAllOnes = 0xFFFFFFFF;

/** A demo chip whose registers a test can bend, and that counts its traffic. */
class BentChip : public Chip::RegisterFile {
public:
    uint32_t read(uint16_t address) override {
        ++messages;
        if (on_read) on_read(address);
        const auto bent = answers.find(address);
        return bent != answers.end() ? bent->second : chip.read(address);
    }
    void write(uint16_t address, uint32_t value, uint32_t mask) override {
        ++messages;
        if (address == deaf_address) return;
        chip.write(address, value, mask);
    }

    /** Reads a register without counting. */
    uint32_t look(Radar::RadarField const& field) {
        return extract(field, chip.read(static_cast<uint16_t>(field.address)));
    }

    Chip::RadarChip chip;
    std::unordered_map<uint16_t, uint32_t> answers;
    int deaf_address = -1;
    std::function<void(uint16_t)> on_read;
    int messages = 0;
};

/** The chip on the other side of the system calls that the library makes. */
class ChipInputTest : public testing::Test {
protected:
    ChipInputTest() {
        calls_.open = [](char const*, int) { return kFd; };
        calls_.close = [](int fd) { return fd == kFd ? 0 : test_support::real_close(fd); };
        calls_.ioctl = [this](int, unsigned long request, void* argument) {
            return transfer(static_cast<unsigned>(request), argument);
        };
    }

    void open(Service::ChipSettings const& settings = {}) {
        input_ = std::make_unique<Service::ChipInput>(settings);
        registers_.messages = 0;
    }

    /** Why opening was refused, in one line. */
    std::string refusal() {
        try {
            open();
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "none";
    }

    void measure(std::vector<float> const& ranges, uint64_t timestamp = 0,
                 Chip::RadarChip::Disturbance disturbance = {}) {
        RO::RadarObjects frame;
        frame.set_timestamp(timestamp);
        for (const float range : ranges) frame.add_targets()->set_r(range);
        registers_.chip.measure(frame, disturbance);
    }

    bool poll() { return input_->poll(frame_); }

    /** Fails the `nth` message from now, counted from 1. */
    void fail_message(int nth) { fail_in_ = nth; }

    BentChip registers_;
    Chip::SpiSlave slave_{registers_, Kit::DemoChip::kCommandByte};
    Chip::Spidev device_{slave_};
    Chip::ProcessMemory memory_{getpid()};
    test_support::SystemCalls calls_;
    std::unique_ptr<Service::ChipInput> input_;
    RO::RadarObjects frame_;

private:
    static constexpr int kFd = 1000;

    int transfer(unsigned request, void* argument) {
        if (fail_in_ > 0 && --fail_in_ == 0) {
            errno = EIO;
            return -1;
        }
        auto const* bytes = static_cast<uint8_t const*>(argument);
        const Chip::Spidev::Reply reply =
            device_.control(request, {bytes, bytes + _IOC_SIZE(request)}, memory_);
        if (reply.result >= 0) return reply.result;
        errno = -reply.result;
        return -1;
    }

    int fail_in_ = 0;
};

/** A chip that was opened and programmed. */
class OpenChipInputTest : public ChipInputTest {
protected:
    OpenChipInputTest() { open(); }
};

TEST_F(ChipInputTest, TheChipIsProgrammedWithTheSettings) {
    Service::ChipSettings settings;
    settings.frame_rate = 25;
    settings.max_targets = 32;
    settings.minimum_snr = 12.5;
    settings.nearest = 0.3;
    settings.farthest = 60;
    open(settings);
    EXPECT_EQ(registers_.look(kEnable), 1U);
    EXPECT_EQ(registers_.look(kFrameRate), 25U);
    EXPECT_EQ(registers_.look(kMaxTargets), 32U);
    EXPECT_EQ(registers_.look(kMinimumSnr), 1250U);
    EXPECT_EQ(registers_.look(kNearest), 30U);
    EXPECT_EQ(registers_.look(kFarthest), 6000U);
}

TEST_F(ChipInputTest, SettingsBeyondARegisterAreLimitedToIt) {
    Service::ChipSettings settings;
    settings.frame_rate = 1000;
    settings.max_targets = 1000;
    settings.farthest = 1000;
    settings.nearest = -1;
    open(settings);
    EXPECT_EQ(registers_.look(kFrameRate), 255U);
    EXPECT_EQ(registers_.look(kMaxTargets), 64U);
    EXPECT_EQ(registers_.look(kFarthest), 65535U);
    EXPECT_EQ(registers_.look(kNearest), 0U);
}

TEST_F(ChipInputTest, AChipThatIsRunningAlreadyIsResetFirst) {
    open();
    measure({1.0F});
    open();
    EXPECT_EQ(registers_.look(kWaiting), 0U);
    measure({1.0F});
    EXPECT_TRUE(poll());
}

TEST_F(ChipInputTest, ADeviceThatCannotBeOpenedIsReportedByTheLibrary) {
    calls_.open = test_support::fails_with(ENODEV);
    try {
        open();
        FAIL() << "nothing was thrown";
    } catch (std::system_error const& error) {
        EXPECT_EQ(error.code().value(), ENODEV);
    }
}

TEST_F(ChipInputTest, ABusThatFailsWhileProgrammingIsReportedByTheLibrary) {
    fail_message(6);
    EXPECT_THROW(open(), std::system_error);
}

TEST_F(ChipInputTest, ABusOfZerosIsNoChip) {
    registers_.answers[kIdentification] = 0;
    EXPECT_EQ(
        refusal(),
        "/dev/spidev0.0: no chip answers to command byte 32, identification reads 0x00000000");
}

TEST_F(ChipInputTest, ABusOfOnesIsNoChip) {
    registers_.answers[kIdentification] = kAllOnes;
    EXPECT_EQ(
        refusal(),
        "/dev/spidev0.0: no chip answers to command byte 32, identification reads 0xffffffff");
}

TEST_F(ChipInputTest, AnotherChipIsRefusedAndNotWrittenTo) {
    registers_.answers[kIdentification] = 0x12345678;
    EXPECT_EQ(refusal(),
              "/dev/spidev0.0: another chip, identification reads 0x12345678, not 0x31445250");
    EXPECT_EQ(registers_.messages, 1);
}

TEST_F(ChipInputTest, AnotherMajorVersionIsRefused) {
    registers_.answers[kVersion] = 0x00020000;
    EXPECT_EQ(refusal(), "/dev/spidev0.0: version 2 of the chip, version 1 is known");
}

TEST_F(ChipInputTest, AnotherMinorVersionIsWelcome) {
    registers_.answers[kVersion] = 0x00010203;
    EXPECT_EQ(refusal(), "none");
}

TEST_F(ChipInputTest, AChipThatDoesNotTakeWritesIsRefused) {
    registers_.deaf_address = kScratch;
    EXPECT_EQ(refusal(),
              "/dev/spidev0.0: what is written does not arrive, scratch reads 0x00000000, not "
              "0xa55a3cc3");
}

TEST_F(OpenChipInputTest, WithoutAFrameAPollCostsOneRead) {
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(), "");
    EXPECT_EQ(registers_.messages, 1);
}

TEST_F(OpenChipInputTest, AFrameArrivesWithAllItHas) {
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
    registers_.chip.measure(sent, {});
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.DebugString(), sent.DebugString());
}

TEST_F(OpenChipInputTest, AFrameWithoutTargetsArrives) {
    measure({}, 5);
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.targets_size(), 0);
    EXPECT_EQ(frame_.timestamp(), 5U);
}

TEST_F(OpenChipInputTest, AFullFrameCostsAsManyMessagesAsThePageSays) {
    measure(std::vector<float>(64, 1.0F));
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.targets_size(), 64);
    EXPECT_EQ(registers_.messages, messages_per_frame(64));
}

TEST_F(OpenChipInputTest, FramesArriveInOrderEachOnce) {
    for (const uint64_t timestamp : {1U, 2U, 3U}) measure({1.0F}, timestamp);
    std::vector<uint64_t> arrived;
    while (poll()) arrived.push_back(frame_.timestamp());
    EXPECT_EQ(arrived, (std::vector<uint64_t>{1, 2, 3}));
    EXPECT_EQ(input_->counters().frames, 3U);
}

TEST_F(OpenChipInputTest, EventsAreThoseSinceTheLastCall) {
    measure({}, 0, {true, false});
    poll();
    const Service::ChipEvents events = input_->take_events();
    EXPECT_TRUE(events.interference);
    EXPECT_FALSE(events.saturation || events.overflow || events.cut);
    EXPECT_FALSE(input_->take_events().interference);
}

TEST_F(OpenChipInputTest, SaturationAndACutFrameAreEvents) {
    measure(std::vector<float>(65, 1.0F), 0, {false, true});
    poll();
    const Service::ChipEvents events = input_->take_events();
    EXPECT_TRUE(events.saturation && events.cut);
}

TEST_F(OpenChipInputTest, FramesThatWereNotReadInTimeAreCounted) {
    for (int i = 0; i < kFrameDepth + 3; ++i) measure({1.0F});
    EXPECT_TRUE(poll());
    EXPECT_TRUE(input_->take_events().overflow);
    EXPECT_EQ(input_->counters().dropped, 3U);
}

TEST_F(OpenChipInputTest, CountsItsReadsAndWrites) {
    const Service::ChipCounters before = input_->counters();
    measure({1.0F});
    poll();
    EXPECT_EQ(input_->counters().reads - before.reads, 9U);
    EXPECT_EQ(input_->counters().writes - before.writes, 1U);
}

TEST_F(ChipInputTest, CountsWhatProgrammingTook) {
    input_ = std::make_unique<Service::ChipInput>(Service::ChipSettings());
    const Service::ChipCounters counters = input_->counters();
    EXPECT_EQ(counters.reads + counters.writes, static_cast<uint64_t>(registers_.messages));
}

TEST_F(OpenChipInputTest, WhereverTheBusFailsTheFrameArrivesAtTheNextPoll) {
    for (int message = 1; message <= messages_per_frame(1); ++message) {
        measure({1.0F}, static_cast<uint64_t>(message));
        fail_message(message);
        EXPECT_FALSE(poll()) << message;
        EXPECT_EQ(input_->problem(), "SPI communication failed: Input/output error") << message;
        ASSERT_TRUE(poll()) << message;
        EXPECT_EQ(frame_.timestamp(), static_cast<uint64_t>(message));
        EXPECT_EQ(input_->problem(), "") << message;
    }
    EXPECT_EQ(input_->counters().failures, static_cast<uint64_t>(messages_per_frame(1)));
}

TEST_F(OpenChipInputTest, AFrameThatSomebodyElseTookIsNotReturned) {
    measure({1.0F}, 1);
    measure({2.0F}, 2);
    registers_.on_read = [this](uint16_t address) {
        if (address != target_register(0, 1)) return;
        registers_.on_read = nullptr;
        registers_.chip.write(kAcknowledge, 1, kAllOnes);
    };
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->counters().torn, 1U);
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.timestamp(), 2U);
}

TEST_F(OpenChipInputTest, AFrameWhoseAcknowledgementWasLostIsReturnedOnce) {
    measure({1.0F}, 1);
    measure({2.0F}, 2);
    registers_.deaf_address = kAcknowledge;
    EXPECT_TRUE(poll());
    registers_.deaf_address = -1;
    EXPECT_FALSE(poll());
    ASSERT_TRUE(poll());
    EXPECT_EQ(frame_.timestamp(), 2U);
}

TEST_F(OpenChipInputTest, TheInputHasEndedWhenTheLastFrameWasRead) {
    measure({1.0F});
    registers_.chip.end_input();
    EXPECT_TRUE(poll());
    EXPECT_FALSE(input_->ended());
    EXPECT_FALSE(poll());
    EXPECT_TRUE(input_->ended());
}

TEST_F(OpenChipInputTest, AChipThatLostItsSettingsIsAProblem) {
    registers_.chip.write(kReset, kResetKey, kAllOnes);
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(),
              "/dev/spidev0.0: the chip has stopped measuring, status reads 0x00000000");
}

TEST_F(OpenChipInputTest, AStatusOfOnesIsAProblem) {
    registers_.answers[kStatus] = kAllOnes;
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(),
              "/dev/spidev0.0: the chip does not answer, status reads 0xffffffff");
    EXPECT_EQ(input_->counters().failures, 1U);
}

TEST_F(OpenChipInputTest, ACountThatTheWindowHasNoRoomForIsAProblem) {
    measure({1.0F});
    registers_.answers[kFrame] = 65;
    EXPECT_FALSE(poll());
    EXPECT_EQ(input_->problem(), "/dev/spidev0.0: a frame of 65 targets, the chip has room for 64");
}

}  // namespace
