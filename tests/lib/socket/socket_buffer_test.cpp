#include "socket/socket_buffer.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "lib/hex.h"

namespace {

using Radar::SocketBuffer;
using test_support::bytes;
using test_support::hex;

RO::TargetData target_with_options(uint32_t options) {
    RO::TargetData target;
    target.set_options(options);
    return target;
}

/** Fills a buffer with targets whose options count from 0. */
void fill(SocketBuffer& buffer, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) buffer.push_back(target_with_options(i));
}

TEST(SocketBufferTest, ANewFrameHasTheMagicAndNothingElse) {
    const SocketBuffer buffer(10);
    EXPECT_EQ(buffer.size(), 0);
    EXPECT_EQ(buffer.timestamp(), 0U);
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D");
}

TEST(SocketBufferTest, IsNeitherCopiedNorMoved) {
    EXPECT_FALSE(std::is_copy_constructible<SocketBuffer>::value);
    EXPECT_FALSE(std::is_move_constructible<SocketBuffer>::value);
    EXPECT_FALSE(std::is_copy_assignable<SocketBuffer>::value);
    EXPECT_FALSE(std::is_move_assignable<SocketBuffer>::value);
}

TEST(SocketBufferTest, HasNoVirtualOperations) {
    EXPECT_FALSE(std::is_polymorphic<SocketBuffer>::value);
    EXPECT_FALSE(std::is_polymorphic<SocketBuffer::iterator>::value);
}

TEST(SocketBufferTest, AddTargetsReturnsEmptyTargetsUpToTheLimit) {
    SocketBuffer buffer(2);
    EXPECT_NE(buffer.add_targets(), nullptr);
    RO::TargetData* second = buffer.add_targets();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->ByteSizeLong(), 0U);
    EXPECT_EQ(buffer.add_targets(), nullptr);
    EXPECT_EQ(buffer.size(), 2);
}

TEST(SocketBufferTest, TheTargetThatAddTargetsReturnsIsTheOneInTheFrame) {
    SocketBuffer buffer(1);
    RO::TargetData* target = buffer.add_targets();
    target->set_rdot(-3.5F);
    EXPECT_EQ(&buffer[0], target);
    EXPECT_EQ(buffer[0].rdot(), -3.5F);
}

TEST(SocketBufferTest, PushBackBeyondTheLimitKeepsTheFirstTargets) {
    SocketBuffer buffer(2);
    fill(buffer, 3);
    ASSERT_EQ(buffer.size(), 2);
    EXPECT_EQ(buffer[0].options(), 0U);
    EXPECT_EQ(buffer[1].options(), 1U);
}

TEST(SocketBufferTest, PushBackAppendsACopy) {
    SocketBuffer buffer(1);
    RO::TargetData target = target_with_options(7);
    buffer.push_back(target);
    target.set_options(8);
    EXPECT_EQ(buffer[0].options(), 7U);
}

TEST(SocketBufferTest, PushBackOfATargetOfTheSameFrameCopiesIt) {
    SocketBuffer buffer(100);
    buffer.push_back(target_with_options(9));
    for (int i = 1; i < 100; ++i) buffer.push_back(buffer[0]);
    EXPECT_EQ(buffer[99].options(), 9U);
}

class SocketBufferNoRoomTest : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Limits, SocketBufferNoRoomTest,
                         testing::Values(0, -1, std::numeric_limits<int>::min()));

TEST_P(SocketBufferNoRoomTest, NeverTakesATarget) {
    SocketBuffer buffer(GetParam());
    EXPECT_EQ(buffer.add_targets(), nullptr);
    buffer.push_back(target_with_options(1));
    EXPECT_EQ(buffer.size(), 0);
}

TEST(SocketBufferTest, ALimitBelowTheCountRemovesNoTargetAndTakesNoMore) {
    SocketBuffer buffer(3);
    fill(buffer, 3);
    buffer.reserve(1);
    EXPECT_EQ(buffer.size(), 3);
    EXPECT_EQ(buffer.add_targets(), nullptr);
}

TEST(SocketBufferTest, ARaisedLimitTakesMoreTargets) {
    SocketBuffer buffer(1);
    fill(buffer, 1);
    buffer.reserve(2);
    EXPECT_NE(buffer.add_targets(), nullptr);
    EXPECT_EQ(buffer.add_targets(), nullptr);
}

TEST(SocketBufferTest, TheLargestLimitAllocatesNothingAhead) {
    SocketBuffer buffer(std::numeric_limits<int>::max());
    buffer.reserve(std::numeric_limits<int>::max());
    fill(buffer, 3);
    EXPECT_EQ(buffer.size(), 3);
}

TEST(SocketBufferTest, TargetsAreWritableByIndex) {
    SocketBuffer buffer(2);
    fill(buffer, 2);
    buffer[1].set_options(40);
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 1A 00 1A 02 28 28");
}

TEST(SocketBufferTest, TheTimestampIsKeptInFull) {
    SocketBuffer buffer(1);
    buffer.set_timestamp(std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(buffer.timestamp(), std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 10 FF FF FF FF FF FF FF FF FF 01");
}

TEST(SocketBufferTest, ClearRemovesTheTargetsOnly) {
    SocketBuffer buffer(2);
    fill(buffer, 2);
    buffer.set_timestamp(1);
    buffer.clear();
    EXPECT_EQ(buffer.size(), 0);
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 10 01");
}

TEST(SocketBufferTest, ClearedTargetsAreReusedAndEmpty) {
    SocketBuffer buffer(2);
    RO::TargetData* first = buffer.add_targets();
    RO::TargetData* second = buffer.add_targets();
    first->set_options(5);
    buffer.clear();
    EXPECT_EQ(buffer.add_targets(), first);
    EXPECT_EQ(first->options(), 0U);
    buffer.push_back(target_with_options(3));
    EXPECT_EQ(&buffer[1], second);
}

TEST(SocketBufferTest, DataDoesNotChangeTheFrame) {
    SocketBuffer buffer(1);
    buffer.push_back(target_with_options(3));
    const std::string first = buffer.data();
    EXPECT_EQ(buffer.data(), first);
    EXPECT_EQ(hex(first), "08 82 E2 ED 0D 1A 02 28 03");
}

TEST(SocketBufferSetDataTest, ReplacesTheWholeFrame) {
    SocketBuffer buffer(5);
    fill(buffer, 3);
    EXPECT_TRUE(buffer.set_data(bytes("08 09 10 0A 1A 02 28 0B")));
    EXPECT_EQ(hex(buffer.data()), "08 09 10 0A 1A 02 28 0B");
}

TEST(SocketBufferSetDataTest, TakesBytesAndALength) {
    const std::string content = bytes("08 09 10 0A FF");
    SocketBuffer buffer(5);
    EXPECT_TRUE(buffer.set_data(content.data(), 4));
    EXPECT_EQ(buffer.timestamp(), 10U);
}

TEST(SocketBufferSetDataTest, MagicAndTimestampThatAreAbsentAreZero) {
    SocketBuffer buffer(5);
    buffer.set_timestamp(1);
    EXPECT_TRUE(buffer.set_data(std::string()));
    EXPECT_EQ(buffer.timestamp(), 0U);
    EXPECT_EQ(hex(buffer.data()), "");
}

TEST(SocketBufferSetDataTest, TheLimitDoesNotApply) {
    SocketBuffer buffer(1);
    EXPECT_TRUE(buffer.set_data(bytes("1A 00 1A 00 1A 00")));
    EXPECT_EQ(buffer.size(), 3);
    EXPECT_EQ(buffer.add_targets(), nullptr);
}

TEST(SocketBufferSetDataTest, BytesThatAreNoFrameAreRefusedAndTheOldTargetsAreGone) {
    SocketBuffer buffer(5);
    fill(buffer, 3);
    EXPECT_FALSE(buffer.set_data(bytes("1A 02 28 07 1A 05")));
    EXPECT_LE(buffer.size(), 2);
    for (RO::TargetData const& target : buffer) {
        EXPECT_THAT(target.options(), testing::AnyOf(0U, 7U));
    }
}

TEST(SocketBufferSetDataTest, AFrameCanBeReadAfterOneThatWasRefused) {
    SocketBuffer buffer(5);
    EXPECT_FALSE(buffer.set_data(bytes("08")));
    EXPECT_TRUE(buffer.set_data(bytes("08 01")));
    EXPECT_EQ(hex(buffer.data()), "08 01");
}

TEST(SocketBufferSetDataTest, ALengthThatTheParserCannotTakeIsRefusedAndLeavesAnEmptyFrame) {
    SocketBuffer buffer(5);
    fill(buffer, 3);
    EXPECT_FALSE(buffer.set_data("", 0x80000000U));
    EXPECT_EQ(hex(buffer.data()), "");
}

/** A float of a target. */
struct FloatField {
    char const* name;
    void (RO::TargetData::*set)(float);
};

void PrintTo(FloatField const& one, std::ostream* os) {
    *os << one.name;
}

class SocketBufferNegativeZeroTest : public testing::TestWithParam<FloatField> {};

INSTANTIATE_TEST_SUITE_P(Fields, SocketBufferNegativeZeroTest,
                         testing::Values(FloatField{"rcs", &RO::TargetData::set_rcs},
                                         FloatField{"r", &RO::TargetData::set_r},
                                         FloatField{"rdot", &RO::TargetData::set_rdot},
                                         FloatField{"theta", &RO::TargetData::set_theta},
                                         FloatField{"snr", &RO::TargetData::set_snr}));

TEST_P(SocketBufferNegativeZeroTest, IsOmittedFromTheEncoding) {
    SocketBuffer buffer(3);
    buffer.push_back(target_with_options(1));
    (buffer.add_targets()->*GetParam().set)(-0.0F);
    buffer.push_back(target_with_options(2));
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 1A 02 28 01 1A 00 1A 02 28 02");
}

TEST(SocketBufferTest, ANegativeZeroStaysInTheFrameAndIsReadBackAsPositive) {
    SocketBuffer buffer(1);
    buffer.add_targets()->set_r(-0.0F);
    SocketBuffer reader(1);
    ASSERT_TRUE(reader.set_data(buffer.data()));
    EXPECT_FALSE(std::signbit(reader[0].r()));
    EXPECT_TRUE(std::signbit(buffer[0].r()));
}

TEST(SocketBufferTest, TheOtherValuesBesideANegativeZeroAreWritten) {
    SocketBuffer buffer(1);
    buffer.set_timestamp(1);
    RO::TargetData* target = buffer.add_targets();
    target->set_rcs(-0.0F);
    target->set_r(-2);
    target->set_options(9);
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 10 01 1A 07 15 00 00 00 C0 28 09");
}

}  // namespace
