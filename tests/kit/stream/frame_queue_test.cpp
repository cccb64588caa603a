#include "kit/stream/frame_queue.h"

#include <gmock/gmock.h>

namespace {

using Kit::FrameQueue;
using testing::IsEmpty;

const FrameQueue::Clock::time_point kStart{};
constexpr size_t kManyBytes = 1000;

FrameQueue::Clock::time_point after_ms(int ms) {
    return kStart + std::chrono::milliseconds(ms);
}

class FrameQueueTest : public testing::Test {
protected:
    /** Pushes frames of 10 bytes that begin with these letters. */
    void push(std::string const& letters, int at_ms = 0) {
        for (const char letter : letters) {
            queue.push(std::make_shared<std::string const>(10, letter), after_ms(at_ms));
        }
    }

    /** The letters of the frames that a turn would write. */
    std::string waiting() {
        std::string letters;
        for (auto const& frame : queue.begin_turn(100).frames) letters += frame->front();
        queue.end_turn(0, kStart);
        return letters;
    }

    void write(size_t bytes, int at_ms = 0) {
        queue.begin_turn(100);
        queue.end_turn(bytes, after_ms(at_ms));
    }

    FrameQueue queue{3, kManyBytes};
};

TEST_F(FrameQueueTest, FramesAreWrittenInTheOrderInWhichTheyCame) {
    push("abc");
    EXPECT_EQ(waiting(), "abc");
}

TEST_F(FrameQueueTest, ATurnHasNoMoreFramesThanItMay) {
    push("abc");
    EXPECT_EQ(queue.begin_turn(2).frames.size(), 2U);
}

TEST_F(FrameQueueTest, TheOldestFrameThatWaitsIsDroppedFromAFullQueue) {
    push("abcde");
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 2U);
}

TEST_F(FrameQueueTest, AFrameThatIsPartlyWrittenIsNeitherDroppedNorCounted) {
    push("abc");
    write(4);
    push("defg");
    EXPECT_EQ(waiting(), "aefg");
    EXPECT_EQ(queue.frames_dropped(), 3U);
}

TEST_F(FrameQueueTest, TheNextTurnGoesOnInsideTheFrame) {
    push("ab");
    write(14);
    EXPECT_EQ(waiting(), "b");
    EXPECT_EQ(queue.begin_turn(100).skipped, 4U);
}

TEST_F(FrameQueueTest, FramesOfATurnAreNotDroppedWhileItIsWritten) {
    push("abc");
    queue.begin_turn(100);
    push("de");
    queue.end_turn(25, kStart);
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 0U);
}

TEST_F(FrameQueueTest, WhatATurnLeavesAboveTheLimitIsDropped) {
    push("abc");
    queue.begin_turn(100);
    push("de");
    queue.end_turn(0, kStart);
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 2U);
}

TEST_F(FrameQueueTest, WholeFramesAndAllBytesAreCounted) {
    push("abc");
    write(24);
    EXPECT_EQ(queue.frames_sent(), 2U);
    EXPECT_EQ(queue.bytes_sent(), 24U);
    EXPECT_EQ(queue.size(), 1U);
}

TEST_F(FrameQueueTest, WaitingBeginsWithTheFirstFrameInAnEmptyQueue) {
    push("a", 5);
    push("b", 9);
    EXPECT_EQ(queue.waiting_since(), after_ms(5));
}

TEST_F(FrameQueueTest, WaitingBeginsAnewWithEveryWholeFrame) {
    push("ab", 5);
    write(10, 8);
    EXPECT_EQ(queue.waiting_since(), after_ms(8));
}

TEST_F(FrameQueueTest, APartOfAFrameDoesNotEndTheWaiting) {
    push("ab", 5);
    write(9, 8);
    EXPECT_EQ(queue.waiting_since(), after_ms(5));
}

TEST_F(FrameQueueTest, ALimitOfNoneCountsAsOne) {
    queue = FrameQueue(0, kManyBytes);
    push("ab");
    EXPECT_EQ(waiting(), "b");
}

/** A queue with room for many frames, but not for their bytes. */
class FrameQueueOfFewBytesTest : public FrameQueueTest {
protected:
    FrameQueueOfFewBytesTest() { queue = FrameQueue(100, 25); }

    void push_large(char letter) {
        queue.push(std::make_shared<std::string const>(1000, letter), kStart);
    }
};

TEST_F(FrameQueueOfFewBytesTest, TheOldestFramesBehindTheOutgoingOneAreDropped) {
    push("abcdef");
    EXPECT_EQ(waiting(), "aef");
    EXPECT_EQ(queue.frames_dropped(), 3U);
}

TEST_F(FrameQueueOfFewBytesTest, AsManyBytesAsThereMayBeStay) {
    queue = FrameQueue(100, 20);
    push("abc");
    EXPECT_EQ(waiting(), "abc");
}

TEST_F(FrameQueueOfFewBytesTest, AFrameThatIsPartlyWrittenIsNotCounted) {
    push_large('A');
    write(999);
    push("bc");
    EXPECT_EQ(waiting(), "Abc");
}

TEST_F(FrameQueueOfFewBytesTest, ALargeFrameInAnEmptyQueueGoesOut) {
    push_large('A');
    push("bcd");
    EXPECT_EQ(waiting(), "Acd");
}

TEST_F(FrameQueueOfFewBytesTest, TheNewestFrameStaysWhateverItsSize) {
    push("abc");
    push_large('D');
    EXPECT_EQ(waiting(), "aD");
}

TEST_F(FrameQueueOfFewBytesTest, OfLargeFramesTheOutgoingAndTheNewestStay) {
    for (const char letter : {'A', 'B', 'C', 'D'}) push_large(letter);
    EXPECT_EQ(waiting(), "AD");
}

TEST_F(FrameQueueOfFewBytesTest, WhatWasWrittenMakesRoom) {
    push("abc");
    write(20);
    push("de");
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 0U);
}

TEST_F(FrameQueueOfFewBytesTest, WhatATurnLeavesAboveTheLimitIsDropped) {
    push("ab");
    queue.begin_turn(100);
    push("cd");
    queue.end_turn(0, kStart);
    EXPECT_EQ(waiting(), "acd");
}

TEST_F(FrameQueueTest, AnEmptyQueueHasNothingToWrite) {
    EXPECT_THAT(queue.begin_turn(100).frames, IsEmpty());
    EXPECT_TRUE(queue.empty());
}

}  // namespace
