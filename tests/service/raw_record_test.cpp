#include "service/raw_record.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "kit/base/words.h"
#include "kit/demo_chip/frame.h"
#include "tests/support/recordings.h"

namespace {

using Service::FrameConditions;

/** The word of 4 bytes at place `index` of the record. */
uint32_t word(std::string const& record, size_t index) {
    return Kit::read_word(record, 4 * index);
}

std::string record_of(int targets, FrameConditions const& conditions = {}) {
    return Service::raw_record(test_support::frame_at(0x123456789, targets), 7, conditions);
}

TEST(RawRecordTest, ARecordBeginsWithItsTagAndTheSizeOfItsRegisters) {
    const std::string record = record_of(2);
    EXPECT_EQ(record.substr(0, 4), "RAW1");
    EXPECT_EQ(word(record, 1), 4U * (4 + 2 * 3));
    EXPECT_EQ(record.size(), 8U + word(record, 1));
}

TEST(RawRecordTest, ARecordIsAsItsPageShowsIt) {
    RO::RadarObjects frame;
    frame.set_timestamp(1000000);
    frame.add_targets()->set_r(1.5F);
    frame.mutable_targets(0)->set_rdot(-0.5F);
    frame.mutable_targets(0)->set_snr(12.25F);
    std::string text;
    for (const char byte : Service::raw_record(frame, 7, {})) {
        char hex[4];
        std::snprintf(hex, sizeof(hex), "%02x ", static_cast<unsigned char>(byte));
        text += hex;
    }
    EXPECT_EQ(text,
              "52 41 57 31 1c 00 00 00 "
              "07 00 00 00 40 42 0f 00 00 00 00 00 01 00 00 00 "
              "96 00 ce ff 00 00 00 00 c9 04 00 00 ");
}

TEST(RawRecordTest, TheFrameIsNumberedAndTimed) {
    const std::string record = record_of(2);
    EXPECT_EQ(word(record, 2), 7U);
    EXPECT_EQ(word(record, 3), 0x23456789U);
    EXPECT_EQ(word(record, 4), 1U);
}

TEST(RawRecordTest, TheFrameRegisterHasTheNumberOfTargets) {
    EXPECT_EQ(word(record_of(2), 5), 2U);
    EXPECT_EQ(word(record_of(0), 5), 0U);
}

TEST(RawRecordTest, TheFrameRegisterHasTheConditions) {
    EXPECT_EQ(word(record_of(0, {false, true}), 5), 1U << 8);
    EXPECT_EQ(word(record_of(0, {true, false}), 5), 1U << 9);
}

TEST(RawRecordTest, TheTargetsAreAsTheChipHasThem) {
    const std::string record = record_of(2);
    const Kit::DemoChip::TargetWords words = {word(record, 9), word(record, 10), word(record, 11)};
    EXPECT_EQ(Kit::DemoChip::unpack_target(words).ShortDebugString(),
              test_support::frame_at(0, 2).targets(1).ShortDebugString());
}

TEST(RawRecordTest, AFrameWithMoreTargetsThanTheWindowHoldsIsCutAndSaysSo) {
    const std::string record = record_of(65);
    EXPECT_EQ(word(record, 5), 64U | 1U << 10);
    EXPECT_EQ(record.size(), 8U + 4 * (4 + 64 * 3));
}

TEST(RawRecordTest, AFrameThatFillsTheWindowIsNotCut) {
    EXPECT_EQ(word(record_of(64), 5), 64U);
}

}  // namespace
