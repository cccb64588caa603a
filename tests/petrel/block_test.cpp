#include "petrel/block.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <limits>
#include <type_traits>

#include "tests/lib/virtual_slots.h"
#include "tests/support/system_calls.h"

namespace {

using Petrel::Block;
using Petrel::FDEvent;
using Petrel::FDPort;
using test_support::slot_of;
using testing::ElementsAre;

constexpr uint16_t kReadable = 1;

/** Two ends of a pipe. */
class Pipe {
public:
    Pipe() { EXPECT_EQ(pipe(ends_), 0); }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    int reader() const { return ends_[0]; }
    int writer() const { return ends_[1]; }
    void put() { EXPECT_EQ(write(ends_[1], "x", 1), 1); }
    void take() {
        char byte = 0;
        EXPECT_EQ(read(ends_[0], &byte, 1), 1);
    }
    void close_end(int end) {
        if (ends_[end] >= 0) close(ends_[end]);
        ends_[end] = -1;
    }

private:
    int ends_[2] = {-1, -1};
};

class BlockTest : public testing::Test {
protected:
    Block block{"radar"};
    Pipe first;
    Pipe second;
};

TEST_F(BlockTest, HasTheNameItWasGiven) {
    EXPECT_EQ(block.name(), "radar");
}

TEST_F(BlockTest, IsNeitherCopiedNorMovedNorMadeFromATextUnasked) {
    EXPECT_FALSE(std::is_copy_constructible<Block>::value);
    EXPECT_FALSE(std::is_move_constructible<Block>::value);
    EXPECT_FALSE(std::is_copy_assignable<Block>::value);
    EXPECT_FALSE((std::is_convertible<std::string, Block>::value));
}

TEST_F(BlockTest, WithoutPortsACycleFindsNothing) {
    EXPECT_EQ(block.poll(0), 0);
}

TEST_F(BlockTest, APortIsNotTriggeredBeforeTheFirstCycle) {
    first.put();
    EXPECT_EQ(block.make_fdport("first", first.reader(), kReadable)->triggered(), 0);
}

TEST_F(BlockTest, AReadablePortIsTriggeredAndCounted) {
    FDPort* ready = block.make_fdport("first", first.reader(), kReadable);
    FDPort* idle = block.make_fdport("second", second.reader(), kReadable);
    first.put();
    EXPECT_EQ(block.poll(-1), 1);
    EXPECT_NE(ready->triggered(), 0);
    EXPECT_EQ(idle->triggered(), 0);
}

TEST_F(BlockTest, EveryReadyPortIsCounted) {
    block.make_fdport("first", first.reader(), kReadable);
    block.make_fdport("second", second.reader(), kReadable);
    first.put();
    second.put();
    EXPECT_EQ(block.poll(0), 2);
}

TEST_F(BlockTest, TwoPortsOfOneDescriptorAreBothTriggered) {
    FDPort* one = block.make_fdport("one", first.reader(), kReadable);
    FDPort* other = block.make_fdport("other", first.reader(), kReadable);
    first.put();
    EXPECT_EQ(block.poll(0), 2);
    EXPECT_NE(one->triggered(), 0);
    EXPECT_NE(other->triggered(), 0);
}

TEST_F(BlockTest, TheAnswerStaysUntilTheNextCycle) {
    FDPort* port = block.make_fdport("first", first.reader(), kReadable);
    first.put();
    block.poll(0);
    first.take();
    EXPECT_NE(port->triggered(), 0);
    EXPECT_NE(port->triggered(), 0);
    EXPECT_EQ(block.poll(0), 0);
    EXPECT_EQ(port->triggered(), 0);
}

TEST_F(BlockTest, ADescriptorThatIsNotReadTriggersInEveryCycle) {
    FDPort* port = block.make_fdport("first", first.reader(), kReadable);
    first.put();
    block.poll(0);
    EXPECT_EQ(block.poll(0), 1);
    EXPECT_NE(port->triggered(), 0);
}

TEST_F(BlockTest, OnlyTheEventsThatWereAskedForTrigger) {
    first.put();
    FDPort* port = block.make_fdport("full", first.reader(), POLLPRI);
    EXPECT_EQ(block.poll(0), 0);
    EXPECT_EQ(port->triggered(), 0);
}

TEST_F(BlockTest, AWritablePortIsTriggered) {
    FDPort* port = block.make_fdport("writer", first.writer(), POLLOUT);
    EXPECT_EQ(block.poll(0), 1);
    EXPECT_NE(port->triggered(), 0);
}

TEST_F(BlockTest, AHangUpCountsAsReady) {
    FDPort* port = block.make_fdport("first", first.reader(), kReadable);
    first.close_end(1);
    EXPECT_EQ(block.poll(-1), 1);
    EXPECT_NE(port->triggered(), 0);
}

TEST_F(BlockTest, AnErrorCountsAsReady) {
    FDPort* port = block.make_fdport("writer", first.writer(), kReadable);
    first.close_end(0);
    EXPECT_EQ(block.poll(-1), 1);
    EXPECT_NE(port->triggered(), 0);
}

TEST_F(BlockTest, ANegativeDescriptorNeverFires) {
    FDPort* none = block.make_fdport("none", -1, kReadable);
    FDPort* lowest = block.make_fdport("lowest", std::numeric_limits<int>::min(), kReadable);
    EXPECT_EQ(block.poll(0), 0);
    EXPECT_EQ(none->triggered(), 0);
    EXPECT_EQ(lowest->triggered(), 0);
}

TEST_F(BlockTest, APortStaysWhereItIsWhenOthersAreMade) {
    FDPort* port = block.make_fdport("first", first.reader(), kReadable);
    for (int i = 0; i < 100; ++i) block.make_fdport("more", -1, kReadable);
    first.put();
    EXPECT_EQ(block.poll(0), 1);
    EXPECT_NE(port->triggered(), 0);
}

TEST_F(BlockTest, ItsPortsDoNotOwnTheirDescriptors) {
    { Block("short-lived").make_fdport("first", first.reader(), kReadable); }
    first.put();
    first.take();
}

/** A block whose waits are recorded and answered by the test. */
class BlockWaitTest : public BlockTest {
protected:
    BlockWaitTest() {
        system_calls.poll = [this](pollfd* waits, nfds_t count, int timeout_ms) {
            timeouts.push_back(timeout_ms);
            for (nfds_t i = 0; i < count; ++i) {
                watched.push_back(waits[i].fd);
                waits[i].revents = revents;
            }
            errno = error;
            return error == 0 ? static_cast<int>(count) : -1;
        };
    }

    test_support::SystemCalls system_calls;
    short revents = 0;
    int error = 0;
    std::vector<int> timeouts;
    std::vector<int> watched;
};

TEST_F(BlockWaitTest, TheTimeoutIsPassedOn) {
    for (const int timeout_ms : {0, 25, -1}) block.poll(timeout_ms);
    EXPECT_THAT(timeouts, ElementsAre(0, 25, -1));
}

TEST_F(BlockWaitTest, AFailedWaitIsReportedAndNoPortIsTriggered) {
    FDPort* port = block.make_fdport("first", 1001, kReadable);
    revents = POLLIN;
    EXPECT_EQ(block.poll(-1), 1);
    error = EINTR;
    EXPECT_EQ(block.poll(-1), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(port->triggered(), 0);
}

TEST_F(BlockWaitTest, AClosedDescriptorDoesNotFireAndIsNotWatchedAnyMore) {
    FDPort* port = block.make_fdport("first", 1001, kReadable);
    revents = POLLNVAL;
    EXPECT_EQ(block.poll(-1), 0);
    EXPECT_EQ(port->triggered(), 0);
    revents = 0;
    block.poll(-1);
    EXPECT_THAT(watched, ElementsAre(1001, -1));
}

TEST(EventMaskTest, IsTwoBytesMadeFromItsBits) {
    const FDEvent::EventMask mask = uint16_t{0x8001};
    EXPECT_EQ(mask.bits(), 0x8001);
    EXPECT_EQ(sizeof(mask), 2U);
    EXPECT_TRUE(std::is_trivially_copyable<FDEvent::EventMask>::value);
}

TEST(EventMaskTest, OneIsTheReadableEvent) {
    EXPECT_EQ(FDEvent::EventMask(1).bits(), POLLIN);
}

TEST(FDPortTest, TheThirdSlotIsTriggered) {
    EXPECT_TRUE(std::has_virtual_destructor<FDPort>::value);
    EXPECT_EQ(slot_of(&FDPort::triggered), 2);
}

TEST(FDPortTest, IsMadeByABlockOnlyAndNotCopied) {
    EXPECT_FALSE(std::is_default_constructible<FDPort>::value);
    EXPECT_FALSE((std::is_constructible<FDPort, std::string, int, FDEvent::EventMask>::value));
    EXPECT_FALSE(std::is_copy_constructible<FDPort>::value);
    EXPECT_FALSE(std::is_copy_assignable<FDPort>::value);
}

}  // namespace
