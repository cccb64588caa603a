#include <gmock/gmock.h>
#include <poll.h>

#include "lib/allocations.h"
#include "lib/hex.h"
#include "lib/socket/fake_descriptors.h"
#include "socket/socket_buffer.h"
#include "support/captured_log.h"

namespace {

using Radar::SocketBuffer;
using test_support::bytes;
using test_support::FakeDescriptors;
using test_support::hex;
using testing::ElementsAre;
using testing::IsEmpty;
using Answer = FakeDescriptors::Answer;

/** A buffer with the consumers 1001, 1002 and 1003, under the keys 1, 2 and 3. */
class SocketBufferSendTest : public testing::Test {
protected:
    SocketBufferSendTest() : buffer(10) {
        for (int key = 1; key <= 3; ++key) buffer.set_fd(key, 1000 + key);
    }

    void leave_only_the_first_consumer() {
        buffer.remove_fd(2);
        buffer.remove_fd(3);
        fake.calls.clear();
    }

    FakeDescriptors fake;
    SocketBuffer buffer;
};

TEST_F(SocketBufferSendTest, AnEmptyFrameIsMagicLengthAndTheMagicAgain) {
    buffer.send();
    EXPECT_EQ(hex(fake.received[1001]), "02 71 BB 01 05 00 00 00 08 82 E2 ED 0D");
}

TEST_F(SocketBufferSendTest, AFrameIsItsEncodingAfterMagicAndLength) {
    buffer.set_timestamp(1);
    buffer.add_targets()->set_options(2);
    const std::string encoding = buffer.data();
    buffer.send();
    EXPECT_EQ(fake.received[1002], bytes("02 71 BB 01 0B 00 00 00") + encoding);
}

TEST_F(SocketBufferSendTest, EveryPieceGoesToAllConsumersBeforeTheNext) {
    buffer.send();
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 4", "write 1002 4", "write 1003 4",
                                        "write 1001 4", "write 1002 4", "write 1003 4",
                                        "write 1001 5", "write 1002 5", "write 1003 5"));
}

TEST_F(SocketBufferSendTest, AllConsumersGetTheSameBytesFromOneEncoding) {
    buffer.send();
    ASSERT_EQ(fake.sources.size(), 9U);
    EXPECT_EQ(fake.sources[6], fake.sources[7]);
    EXPECT_EQ(fake.sources[7], fake.sources[8]);
    EXPECT_EQ(fake.received[1001], fake.received[1003]);
}

TEST_F(SocketBufferSendTest, FramesFollowOneAnotherDirectly) {
    buffer.send();
    const std::string first = fake.received[1001];
    buffer.send();
    EXPECT_EQ(fake.received[1001], first + first);
}

TEST_F(SocketBufferSendTest, TheTargetsAreGoneAfterwardsAndTheTimestampStays) {
    buffer.add_targets();
    buffer.set_timestamp(7);
    buffer.send();
    EXPECT_EQ(buffer.size(), 0);
    EXPECT_EQ(buffer.timestamp(), 7U);
    EXPECT_EQ(hex(buffer.data()), "08 82 E2 ED 0D 10 07");
}

TEST_F(SocketBufferSendTest, ATimestampGivenToSendIsSetFirst) {
    buffer.send(9);
    EXPECT_EQ(buffer.timestamp(), 9U);
    EXPECT_EQ(hex(fake.received[1001]), "02 71 BB 01 07 00 00 00 08 82 E2 ED 0D 10 09");
}

TEST_F(SocketBufferSendTest, TheHeaderCarriesTheMagicOfAFrameThatWasReadBack) {
    ASSERT_TRUE(buffer.set_data(bytes("08 84 86 88 08")));
    buffer.send();
    EXPECT_EQ(hex(fake.received[1001]), "04 03 02 01 05 00 00 00 08 84 86 88 08");
}

TEST_F(SocketBufferSendTest, AFrameReadBackWithoutMagicIsSentWithMagicZero) {
    ASSERT_TRUE(buffer.set_data(std::string()));
    buffer.send();
    EXPECT_EQ(hex(fake.received[1001]), "00 00 00 00 00 00 00 00");
    EXPECT_EQ(fake.calls.size(), 6U) << "nothing is written for an encoding of no bytes";
}

TEST_F(SocketBufferSendTest, ANegativeZeroIsOmittedFromTheFrameAndItsLength) {
    buffer.add_targets()->set_r(-0.0F);
    buffer.send();
    EXPECT_EQ(hex(fake.received[1001]), "02 71 BB 01 07 00 00 00 08 82 E2 ED 0D 1A 00");
}

TEST_F(SocketBufferSendTest, WithoutConsumersNothingIsWrittenAndTheTargetsAreGone) {
    leave_only_the_first_consumer();
    buffer.remove_fd(1);
    fake.calls.clear();
    buffer.add_targets();
    buffer.send(3);
    EXPECT_THAT(fake.calls, IsEmpty());
    EXPECT_EQ(buffer.size(), 0);
    EXPECT_EQ(buffer.timestamp(), 3U);
}

TEST_F(SocketBufferSendTest, WithoutConsumersNoEncodingIsMade) {
    SocketBuffer lonely(1);
    lonely.add_targets()->set_options(1);
    test_support::Allocations allocations;
    lonely.send();
    EXPECT_EQ(allocations.count, 0);
}

TEST_F(SocketBufferSendTest, SendBufferWritesTheBytesUnchanged) {
    buffer.send_buffer("abc", 3);
    EXPECT_EQ(fake.received[1001], "abc");
    EXPECT_EQ(fake.received[1003], "abc");
}

TEST_F(SocketBufferSendTest, SendBufferOfNoBytesWritesNothingAndKeepsEveryConsumer) {
    fake.writes[1001] = {{-1, EPIPE}};
    buffer.send_buffer("abc", 0);
    EXPECT_THAT(fake.calls, IsEmpty());
}

TEST_F(SocketBufferSendTest, APartialWriteIsContinuedWhereItStopped) {
    leave_only_the_first_consumer();
    fake.writes[1001] = {{2}, {1}, {3}};
    buffer.send_buffer("abcdefgh", 8);
    EXPECT_EQ(fake.received[1001], "abcdefgh");
    EXPECT_THAT(fake.calls,
                ElementsAre("write 1001 8", "write 1001 6", "write 1001 5", "write 1001 2"));
}

TEST_F(SocketBufferSendTest, AFullConsumerIsWaitedForWithoutATimeLimitAndWrittenToAgain) {
    leave_only_the_first_consumer();
    fake.writes[1001] = {{1}, {-1, EAGAIN}, {-1, EAGAIN}};
    buffer.send_buffer("abc", 3);
    const std::string wait = "poll 1001 " + std::to_string(POLLOUT) + " -1";
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 3", "write 1001 2", wait, "write 1001 2", wait,
                                        "write 1001 2"));
    EXPECT_EQ(fake.received[1001], "abc");
}

TEST_F(SocketBufferSendTest, AConsumerThatBreaksWhileItIsWaitedForFailsInTheNextWrite) {
    leave_only_the_first_consumer();
    fake.writes[1001] = {{-1, EAGAIN}, {-1, EPIPE}};
    buffer.send_buffer("abc", 3);
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 3", testing::StartsWith("poll 1001"),
                                        "write 1001 3", "close 1001"));
}

/** What a write may answer that ends a consumer. */
class SocketBufferFailedWriteTest : public SocketBufferSendTest,
                                    public testing::WithParamInterface<Answer> {};

INSTANTIATE_TEST_SUITE_P(Answers, SocketBufferFailedWriteTest,
                         testing::Values(Answer{0, 0}, Answer{0, EAGAIN}, Answer{-1, EINTR},
                                         Answer{-1, EPIPE}, Answer{-1, EBADF}, Answer{-1, EIO},
                                         Answer{-1, ECONNRESET}, Answer{-1, 0}));

TEST_P(SocketBufferFailedWriteTest, ClosesTheConsumerAndIsNotRetried) {
    leave_only_the_first_consumer();
    fake.writes[1001] = {GetParam()};
    buffer.send();
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 4", "close 1001"));
}

TEST_P(SocketBufferFailedWriteTest, LeavesTheOtherConsumersTheirWholeFrame) {
    fake.writes[1002] = {GetParam()};
    buffer.send();
    const std::string frame = "02 71 BB 01 05 00 00 00 08 82 E2 ED 0D";
    EXPECT_EQ(hex(fake.received[1001]), frame);
    EXPECT_EQ(hex(fake.received[1003]), frame);
    EXPECT_EQ(fake.received[1002], "");
}

/** What a wait may answer that ends a consumer. */
class SocketBufferFailedWaitTest : public SocketBufferSendTest,
                                   public testing::WithParamInterface<Answer> {};

INSTANTIATE_TEST_SUITE_P(Answers, SocketBufferFailedWaitTest,
                         testing::Values(Answer{0, 0}, Answer{-1, EINTR}, Answer{-1, ENOMEM},
                                         Answer{-1, EINVAL}, Answer{2, 0}));

TEST_P(SocketBufferFailedWaitTest, ClosesTheConsumerAndTheWalkGoesOn) {
    fake.writes[1001] = {{-1, EAGAIN}};
    fake.waits = {GetParam()};
    buffer.send_buffer("abc", 3);
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 3", testing::StartsWith("poll 1001"),
                                        "close 1001", "write 1002 3", "write 1003 3"));
}

TEST_F(SocketBufferSendTest, AConsumerThatFailsInTheHeaderGetsNoneOfTheLaterPieces) {
    fake.writes[1001] = {{4}, {-1, EPIPE}};
    buffer.send();
    EXPECT_EQ(hex(fake.received[1001]), "02 71 BB 01");
    EXPECT_EQ(fake.received[1002].size(), 13U);
}

TEST_F(SocketBufferSendTest, AConsumerThatFailsHalfwayThroughAPieceIsClosed) {
    fake.writes[1003] = {{4}, {4}, {3}, {-1, EPIPE}};
    buffer.send();
    EXPECT_EQ(fake.received[1003].size(), 11U);
    EXPECT_EQ(fake.calls.back(), "close 1003");
}

TEST_F(SocketBufferSendTest, NeighboursThatFailTogetherAreAllClosedOnce) {
    for (int fd = 1001; fd <= 1003; ++fd) fake.writes[fd] = {{-1, EPIPE}};
    buffer.send();
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 4", "close 1001", "write 1002 4", "close 1002",
                                        "write 1003 4", "close 1003"));
}

TEST_F(SocketBufferSendTest, AFailedConsumerIsForgotten) {
    fake.writes[1002] = {{-1, EPIPE}};
    buffer.send();
    fake.calls.clear();
    buffer.remove_fd(2);
    EXPECT_THAT(fake.calls, IsEmpty());
    buffer.send_buffer("a", 1);
    EXPECT_THAT(fake.calls, ElementsAre("write 1001 1", "write 1003 1"));
}

TEST_F(SocketBufferSendTest, AFailedConsumerIsNotLogged) {
    test_support::clear_log();
    fake.writes[1002] = {{-1, EIO}};
    buffer.send();
    EXPECT_THAT(test_support::captured_log(), IsEmpty());
}

TEST_F(SocketBufferSendTest, TheTargetsAreGoneWhenEveryConsumerFailed) {
    leave_only_the_first_consumer();
    fake.writes[1001] = {{-1, EPIPE}};
    buffer.add_targets();
    buffer.send();
    EXPECT_EQ(buffer.size(), 0);
}

}  // namespace
