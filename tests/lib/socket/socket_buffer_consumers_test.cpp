#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <set>

#include "lib/socket/fake_descriptors.h"
#include "socket/socket_buffer.h"

namespace {

using Radar::SocketBuffer;
using test_support::FakeDescriptors;
using testing::ElementsAre;
using testing::IsEmpty;

class SocketBufferConsumersTest : public testing::Test {
protected:
    SocketBufferConsumersTest() : buffer(std::make_unique<SocketBuffer>(1)) {}

    /** The descriptors of the consumers, in the order in which they are written to. */
    std::vector<std::string> consumers() {
        fake.calls.clear();
        buffer->send_buffer("x", 1);
        return std::exchange(fake.calls, {});
    }

    FakeDescriptors fake;
    std::unique_ptr<SocketBuffer> buffer;
};

TEST_F(SocketBufferConsumersTest, AreWrittenToInOrderOfRegistration) {
    buffer->set_fd(9, 1001);
    buffer->set_fd(-4, 1002);
    buffer->set_fd(0, 1003);
    EXPECT_THAT(consumers(), ElementsAre("write 1001 1", "write 1002 1", "write 1003 1"));
}

TEST_F(SocketBufferConsumersTest, ASecondRegistrationClosesTheFirstAndGoesToTheEnd) {
    buffer->set_fd(5, 1001);
    buffer->set_fd(6, 1002);
    buffer->set_fd(5, 1003);
    EXPECT_THAT(fake.calls, ElementsAre("close 1001"));
    EXPECT_THAT(consumers(), ElementsAre("write 1002 1", "write 1003 1"));
}

TEST_F(SocketBufferConsumersTest, TheSameDescriptorUnderTheSameKeyIsClosedAndRegistered) {
    buffer->set_fd(5, 1001);
    buffer->set_fd(5, 1001);
    EXPECT_THAT(fake.calls, ElementsAre("close 1001"));
    fake.writes[1001] = {{-1, EBADF}};
    EXPECT_THAT(consumers(), ElementsAre("write 1001 1", "close 1001"));
    EXPECT_THAT(consumers(), IsEmpty());
}

TEST_F(SocketBufferConsumersTest, TheSameDescriptorUnderTwoKeysIsTwoConsumers) {
    buffer->set_fd(1, 1001);
    buffer->set_fd(2, 1001);
    EXPECT_THAT(consumers(), ElementsAre("write 1001 1", "write 1001 1"));
}

TEST_F(SocketBufferConsumersTest, RemovingAConsumerClosesItAndKeepsTheOrderOfTheOthers) {
    for (int key = 1; key <= 4; ++key) buffer->set_fd(key, 1000 + key);
    buffer->remove_fd(2);
    EXPECT_THAT(fake.calls, ElementsAre("close 1002"));
    EXPECT_THAT(consumers(), ElementsAre("write 1001 1", "write 1003 1", "write 1004 1"));
}

TEST_F(SocketBufferConsumersTest, TheKeyCountsAndNotTheDescriptor) {
    buffer->set_fd(1002, 1001);
    buffer->set_fd(1001, 1002);
    buffer->remove_fd(1001);
    EXPECT_THAT(fake.calls, ElementsAre("close 1002"));
}

TEST_F(SocketBufferConsumersTest, RemovingAnUnknownKeyChangesAndClosesNothing) {
    buffer->set_fd(1, 1001);
    buffer->remove_fd(1001);
    buffer->remove_fd(2);
    EXPECT_THAT(fake.calls, IsEmpty());
    EXPECT_THAT(consumers(), ElementsAre("write 1001 1"));
}

TEST_F(SocketBufferConsumersTest, RemovingFromAnEmptyListDoesNothing) {
    buffer->remove_fd(0);
    EXPECT_THAT(fake.calls, IsEmpty());
}

TEST_F(SocketBufferConsumersTest, AConsumerWhoseCloseFailsIsRemovedAllTheSame) {
    buffer->set_fd(1, 1001);
    fake.closing = {-1, EIO};
    buffer->remove_fd(1);
    EXPECT_THAT(consumers(), IsEmpty());
}

TEST_F(SocketBufferConsumersTest, ANegativeDescriptorIsDroppedByTheFirstSend) {
    buffer->set_fd(1, -1);
    buffer->set_fd(2, 1002);
    buffer->send();
    EXPECT_THAT(fake.calls,
                ElementsAre("close -1", "write 1002 4", "write 1002 4", "write 1002 5"));
}

TEST_F(SocketBufferConsumersTest, TheFrameIsNotTouched) {
    buffer->add_targets();
    buffer->set_fd(1, 1001);
    buffer->remove_fd(1);
    EXPECT_EQ(buffer->size(), 1);
}

/** How many consumers there are when a buffer is destroyed, and which of them are closed then. */
struct Teardown {
    int consumers;
    std::vector<std::string> closed;
};

void PrintTo(Teardown const& one, std::ostream* os) {
    *os << one.consumers;
}

class SocketBufferTeardownTest : public SocketBufferConsumersTest,
                                 public testing::WithParamInterface<Teardown> {
protected:
    /** Destroys a buffer whose consumers 1001, 1002, … were registered under these keys. */
    template <typename KeyOf>
    void destroy_buffer(KeyOf key_of) {
        for (int i = 1; i <= GetParam().consumers; ++i) buffer->set_fd(key_of(i), 1000 + i);
        buffer.reset();
    }
};

INSTANTIATE_TEST_SUITE_P(
    Consumers, SocketBufferTeardownTest,
    testing::Values(
        Teardown{0, {}}, Teardown{1, {"close 1001"}}, Teardown{2, {"close 1001", "close 1002"}},
        Teardown{3, {"close 1001", "close 1003"}},
        Teardown{4, {"close 1001", "close 1003", "close 1004"}},
        Teardown{5, {"close 1001", "close 1003", "close 1005"}},
        Teardown{6, {"close 1001", "close 1003", "close 1005", "close 1006"}},
        Teardown{7, {"close 1001", "close 1003", "close 1005", "close 1007"}},
        Teardown{8, {"close 1001", "close 1003", "close 1005", "close 1007", "close 1008"}}));

TEST_P(SocketBufferTeardownTest, ClosesEverySecondConsumerAndTheLast) {
    destroy_buffer([](int i) { return i; });
    EXPECT_EQ(fake.calls, GetParam().closed);
}

TEST_P(SocketBufferTeardownTest, DoesNotDependOnTheKeys) {
    destroy_buffer([](int i) { return i % 2 == 0 ? std::numeric_limits<int>::min() + i : -i; });
    EXPECT_EQ(fake.calls, GetParam().closed);
}

TEST_F(SocketBufferConsumersTest, TeardownCountsThePlacesThatRemovalsLeft) {
    for (int key = 1; key <= 5; ++key) buffer->set_fd(key, 1000 + key);
    buffer->remove_fd(1);
    buffer->set_fd(3, 1013);
    fake.calls.clear();
    buffer.reset();
    EXPECT_THAT(fake.calls, ElementsAre("close 1002", "close 1005", "close 1013"));
}

TEST_F(SocketBufferConsumersTest, TeardownCountsThePlacesThatFailuresLeft) {
    for (int key = 1; key <= 4; ++key) buffer->set_fd(key, 1000 + key);
    fake.writes[1003] = {{-1, EPIPE}};
    buffer->send();
    fake.calls.clear();
    buffer.reset();
    EXPECT_THAT(fake.calls, ElementsAre("close 1001", "close 1004"));
}

}  // namespace
