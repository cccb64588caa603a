#include "service/record_queue.h"

#include <gtest/gtest.h>

namespace {

using Service::RecordQueue;

TEST(RecordQueueTest, RecordsComeOutInOrder) {
    RecordQueue queue(10, 100);
    queue.push("a");
    queue.push("b");
    EXPECT_EQ(queue.pop(), "a");
    EXPECT_EQ(queue.pop(), "b");
    EXPECT_EQ(queue.pop(), std::nullopt);
}

TEST(RecordQueueTest, TheOldestIsDroppedBeyondTheNumber) {
    RecordQueue queue(2, 100);
    EXPECT_EQ(queue.push("a"), 0U);
    EXPECT_EQ(queue.push("b"), 0U);
    EXPECT_EQ(queue.push("c"), 1U);
    EXPECT_EQ(queue.pop(), "b");
}

TEST(RecordQueueTest, TheOldestAreDroppedBeyondTheBytes) {
    RecordQueue queue(10, 5);
    queue.push("aa");
    queue.push("bb");
    EXPECT_EQ(queue.push("cccc"), 2U);
    EXPECT_EQ(queue.bytes(), 4U);
}

TEST(RecordQueueTest, OneRecordWaitsWhateverItsSize) {
    RecordQueue queue(10, 5);
    EXPECT_EQ(queue.push("0123456789"), 0U);
    EXPECT_EQ(queue.frames(), 1U);
}

TEST(RecordQueueTest, ARestoredRecordIsTheOldest) {
    RecordQueue queue(10, 100);
    queue.push("b");
    EXPECT_EQ(queue.restore("a"), 0U);
    EXPECT_EQ(queue.pop(), "a");
}

TEST(RecordQueueTest, ARestoredRecordIsDroppedWhenThereIsNoRoomLeft) {
    RecordQueue queue(1, 100);
    queue.push("b");
    EXPECT_EQ(queue.restore("a"), 1U);
    EXPECT_EQ(queue.pop(), "b");
}

TEST(RecordQueueTest, ItIsFilledByNumberOrByBytes) {
    RecordQueue queue(4, 100);
    EXPECT_FALSE(queue.is_filled(0.5));
    queue.push(std::string(50, 'a'));
    EXPECT_TRUE(queue.is_filled(0.5));
    queue.clear();
    queue.push("a");
    queue.push("a");
    EXPECT_TRUE(queue.is_filled(0.5));
}

}  // namespace
