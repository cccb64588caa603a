#include "kit/stream/client_queue.h"

#include <gmock/gmock.h>

namespace {

using Kit::ClientQueue;
using testing::IsEmpty;

const ClientQueue::Clock::time_point kStart{};
constexpr size_t kManyBytes = 1000;

ClientQueue::Clock::time_point after_ms(int ms) {
    return kStart + std::chrono::milliseconds(ms);
}

class ClientQueueTest : public testing::Test {
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

    ClientQueue queue{3, kManyBytes};
};

TEST_F(ClientQueueTest, FramesAreWrittenInTheOrderInWhichTheyCame) {
    push("abc");
    EXPECT_EQ(waiting(), "abc");
}

TEST_F(ClientQueueTest, ATurnHasNoMoreFramesThanItMay) {
    push("abc");
    EXPECT_EQ(queue.begin_turn(2).frames.size(), 2U);
}

TEST_F(ClientQueueTest, TheOldestFrameThatWaitsIsDroppedFromAFullQueue) {
    push("abcde");
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 2U);
}

TEST_F(ClientQueueTest, AFrameThatIsPartlyWrittenIsNeitherDroppedNorCounted) {
    push("abc");
    write(4);
    push("defg");
    EXPECT_EQ(waiting(), "aefg");
    EXPECT_EQ(queue.frames_dropped(), 3U);
}

TEST_F(ClientQueueTest, TheNextTurnGoesOnInsideTheFrame) {
    push("ab");
    write(14);
    EXPECT_EQ(waiting(), "b");
    EXPECT_EQ(queue.begin_turn(100).skipped, 4U);
}

TEST_F(ClientQueueTest, FramesOfATurnAreNotDroppedWhileItIsWritten) {
    push("abc");
    queue.begin_turn(100);
    push("de");
    queue.end_turn(25, kStart);
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 0U);
}

TEST_F(ClientQueueTest, WhatATurnLeavesAboveTheLimitIsDropped) {
    push("abc");
    queue.begin_turn(100);
    push("de");
    queue.end_turn(0, kStart);
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 2U);
}

TEST_F(ClientQueueTest, WholeFramesAndAllBytesAreCounted) {
    push("abc");
    write(24);
    EXPECT_EQ(queue.frames_sent(), 2U);
    EXPECT_EQ(queue.bytes_sent(), 24U);
    EXPECT_EQ(queue.size(), 1U);
}

TEST_F(ClientQueueTest, WaitingBeginsWithTheFirstFrameInAnEmptyQueue) {
    push("a", 5);
    push("b", 9);
    EXPECT_EQ(queue.waiting_since(), after_ms(5));
}

TEST_F(ClientQueueTest, WaitingBeginsAgainWithEveryWholeFrame) {
    push("ab", 5);
    write(10, 8);
    EXPECT_EQ(queue.waiting_since(), after_ms(8));
}

TEST_F(ClientQueueTest, APartOfAFrameDoesNotEndTheWaiting) {
    push("ab", 5);
    write(9, 8);
    EXPECT_EQ(queue.waiting_since(), after_ms(5));
}

TEST_F(ClientQueueTest, ALimitOfNoneCountsAsOne) {
    queue = ClientQueue(0, kManyBytes);
    push("ab");
    EXPECT_EQ(waiting(), "b");
}

/** A queue with room for many frames, but not for their bytes. */
class ClientQueueOfFewBytesTest : public ClientQueueTest {
protected:
    ClientQueueOfFewBytesTest() { queue = ClientQueue(100, 25); }

    void push_large(char letter) {
        queue.push(std::make_shared<std::string const>(1000, letter), kStart);
    }
};

TEST_F(ClientQueueOfFewBytesTest, TheOldestFramesAfterTheOutgoingOneAreDropped) {
    push("abcdef");
    EXPECT_EQ(waiting(), "aef");
    EXPECT_EQ(queue.frames_dropped(), 3U);
}

TEST_F(ClientQueueOfFewBytesTest, AsManyBytesAsThereMayBeStay) {
    queue = ClientQueue(100, 20);
    push("abc");
    EXPECT_EQ(waiting(), "abc");
}

TEST_F(ClientQueueOfFewBytesTest, AFrameThatIsPartlyWrittenIsNotCounted) {
    push_large('A');
    write(999);
    push("bc");
    EXPECT_EQ(waiting(), "Abc");
}

TEST_F(ClientQueueOfFewBytesTest, ALargeFrameInAnEmptyQueueGoesOut) {
    push_large('A');
    push("bcd");
    EXPECT_EQ(waiting(), "Acd");
}

TEST_F(ClientQueueOfFewBytesTest, TheNewestFrameStaysWhateverItsSize) {
    push("abc");
    push_large('D');
    EXPECT_EQ(waiting(), "aD");
}

TEST_F(ClientQueueOfFewBytesTest, OfLargeFramesTheOutgoingAndTheNewestStay) {
    for (const char letter : {'A', 'B', 'C', 'D'}) push_large(letter);
    EXPECT_EQ(waiting(), "AD");
}

TEST_F(ClientQueueOfFewBytesTest, WhatWasWrittenMakesRoom) {
    push("abc");
    write(20);
    push("de");
    EXPECT_EQ(waiting(), "cde");
    EXPECT_EQ(queue.frames_dropped(), 0U);
}

TEST_F(ClientQueueOfFewBytesTest, WhatATurnLeavesAboveTheLimitIsDropped) {
    push("ab");
    queue.begin_turn(100);
    push("cd");
    queue.end_turn(0, kStart);
    EXPECT_EQ(waiting(), "acd");
}

TEST_F(ClientQueueTest, AnEmptyQueueHasNothingToWrite) {
    EXPECT_THAT(queue.begin_turn(100).frames, IsEmpty());
    EXPECT_TRUE(queue.empty());
}

}  // namespace
