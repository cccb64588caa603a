#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <limits>

#include "socket/socket_buffer.h"

namespace {

using Radar::SocketBuffer;

constexpr char kBelow[] = "CHECK failed: (index) >= (0): ";
constexpr char kBeyond[] = "CHECK failed: (index) < (current_size_): ";

/** Does `access`, which has to end in protobuf's fatal check failure: by an exception or not. */
template <typename Access>
void end_in_check_failure(Access access) {
    try {
        access();
    } catch (std::exception const& fatal) {
        std::cerr << "thrown: " << fatal.what() << std::endl;
        std::abort();
    }
    std::cerr << "no failure" << std::endl;
    std::_Exit(0);
}

/** A buffer and a frame of three targets each, whose options are 10, 11, 12 and 20, 21, 22. */
class SocketBufferIteratorTest : public testing::Test {
protected:
    SocketBufferIteratorTest() : buffer(10) {
        for (uint32_t i = 0; i < 3; ++i) {
            buffer.add_targets()->set_options(10 + i);
            frame.add_targets()->set_options(20 + i);
        }
    }

    SocketBuffer buffer;
    RO::RadarObjects frame;
};

TEST_F(SocketBufferIteratorTest, WalksTheTargetsInOrder) {
    std::vector<uint32_t> options;
    for (RO::TargetData const& target : buffer) options.push_back(target.options());
    EXPECT_THAT(options, testing::ElementsAre(10, 11, 12));
}

TEST_F(SocketBufferIteratorTest, AnEmptyFrameBeginsAtItsEnd) {
    buffer.clear();
    EXPECT_TRUE(buffer.begin() == buffer.end());
}

TEST_F(SocketBufferIteratorTest, PrefixIncrementReturnsTheNewPosition) {
    SocketBuffer::iterator position = buffer.begin();
    EXPECT_EQ((++position)->options(), 11U);
    EXPECT_EQ(position->options(), 11U);
}

TEST_F(SocketBufferIteratorTest, PrefixIncrementReturnsACopy) {
    SocketBuffer::iterator position = buffer.begin();
    SocketBuffer::iterator copy = ++position;
    ++copy;
    EXPECT_EQ(position->options(), 11U);
    EXPECT_FALSE(std::is_reference<decltype(++position)>::value);
}

TEST_F(SocketBufferIteratorTest, PostfixIncrementReturnsThePositionBefore) {
    SocketBuffer::iterator position = buffer.begin();
    EXPECT_EQ((position++)->options(), 10U);
    EXPECT_EQ(position->options(), 11U);
}

TEST_F(SocketBufferIteratorTest, BothDereferencesNameTheTargetInTheFrame) {
    const SocketBuffer::iterator first = buffer.begin();
    EXPECT_EQ(&*first, &buffer[0]);
    EXPECT_EQ(first.operator->(), &buffer[0]);
}

TEST_F(SocketBufferIteratorTest, CanBeMadeForAnyFrameAndIndex) {
    EXPECT_EQ(SocketBuffer::iterator(&frame, 2)->options(), 22U);
}

TEST_F(SocketBufferIteratorTest, IsEqualForTheSameFrameAndIndexOnly) {
    const SocketBuffer::iterator position(&frame, 1);
    EXPECT_TRUE(position == SocketBuffer::iterator(&frame, 1));
    EXPECT_FALSE(position != SocketBuffer::iterator(&frame, 1));
    EXPECT_FALSE(position == SocketBuffer::iterator(&frame, 0));
    EXPECT_TRUE(position != SocketBuffer::iterator(&frame, 0));
}

TEST_F(SocketBufferIteratorTest, TheSameIndexOfAnEqualFrameIsAnotherPosition) {
    const RO::RadarObjects twin = frame;
    EXPECT_TRUE(SocketBuffer::iterator(&frame, 0) != SocketBuffer::iterator(&twin, 0));
    EXPECT_FALSE(SocketBuffer::iterator(&frame, 0) == SocketBuffer::iterator(&twin, 0));
}

TEST_F(SocketBufferIteratorTest, TheEndMovesWithTheFrame) {
    const SocketBuffer::iterator before = buffer.end();
    buffer.add_targets();
    EXPECT_TRUE(before != buffer.end());
    EXPECT_EQ(before->options(), 0U);
}

TEST_F(SocketBufferIteratorTest, OwnsNothingButItsPosition) {
    EXPECT_TRUE(std::is_trivially_copyable<SocketBuffer::iterator>::value);
    EXPECT_LE(sizeof(SocketBuffer::iterator), 2 * sizeof(void*));
}

/** An index outside the targets of a buffer, and what the check reports. */
struct BadIndex {
    int index;
    char const* message;
};

void PrintTo(BadIndex const& one, std::ostream* os) {
    *os << one.index;
}

class SocketBufferIndexDeathTest : public SocketBufferIteratorTest,
                                   public testing::WithParamInterface<BadIndex> {
protected:
    SocketBuffer::iterator position() const {
        return SocketBuffer::iterator(&frame, GetParam().index);
    }
};

INSTANTIATE_TEST_SUITE_P(Indices, SocketBufferIndexDeathTest,
                         testing::Values(BadIndex{-1, kBelow},
                                         BadIndex{std::numeric_limits<int>::min(), kBelow},
                                         BadIndex{3, kBeyond},
                                         BadIndex{std::numeric_limits<int>::max(), kBeyond}));

TEST_P(SocketBufferIndexDeathTest, IsAFatalFailureOfTheIndexOperator) {
    EXPECT_DEATH(end_in_check_failure([this] { buffer[GetParam().index]; }),
                 testing::HasSubstr(GetParam().message));
}

TEST_P(SocketBufferIndexDeathTest, IsAFatalFailureOfTheDereference) {
    EXPECT_DEATH(end_in_check_failure([this] { *position(); }),
                 testing::HasSubstr(GetParam().message));
}

TEST_P(SocketBufferIndexDeathTest, IsAFatalFailureOfTheArrow) {
    EXPECT_DEATH(end_in_check_failure([this] { position()->options(); }),
                 testing::HasSubstr(GetParam().message));
}

using SocketBufferEmptyDeathTest = SocketBufferIteratorTest;

TEST_F(SocketBufferEmptyDeathTest, TheFirstIndexOfAnEmptyFrameIsAFatalFailure) {
    buffer.clear();
    EXPECT_DEATH(end_in_check_failure([this] { buffer[0]; }), testing::HasSubstr(kBeyond));
}

TEST_F(SocketBufferEmptyDeathTest, TheLimitDoesNotMoveTheCheck) {
    buffer.reserve(1);
    EXPECT_EQ(buffer[2].options(), 12U);
    buffer.reserve(100);
    EXPECT_DEATH(end_in_check_failure([this] { buffer[3]; }), testing::HasSubstr(kBeyond));
}

}  // namespace
