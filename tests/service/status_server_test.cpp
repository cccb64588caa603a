#include "service/status_server.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/private_paths.h"

namespace {

using test_support::connect_to;
using test_support::read_to_end;
using Clock = Service::StatusServer::Clock;

constexpr char kPath[] = "/tmp/status.sock";

class StatusServerTest : public test_support::PrivatePathsTest {
protected:
    /** Runs cycles of the block for as long as something happens in them. */
    void serve(std::string const& document = "document", Clock::duration later = {}) {
        while (block_.poll(0) > 0) serve_cycle(document, later);
        serve_cycle(document, later);
    }

    void serve_cycle(std::string const& document, Clock::duration later = {}) {
        server_.serve(
            [&] {
                ++documents_;
                return document;
            },
            Clock::now() + later);
    }

    Petrel::Block block_{"test"};
    Service::StatusServer server_{block_, kPath};
    int documents_ = 0;
};

TEST_F(StatusServerTest, AReaderGetsTheDocumentAndTheEnd) {
    const auto reader = connect_to(kPath);
    serve("hello\n");
    EXPECT_EQ(read_to_end(reader), "hello\n");
}

TEST_F(StatusServerTest, EveryReaderGetsADocumentMadeForIt) {
    const auto first = connect_to(kPath);
    serve("one");
    const auto second = connect_to(kPath);
    serve("two");
    EXPECT_EQ(read_to_end(first), "one");
    EXPECT_EQ(read_to_end(second), "two");
}

TEST_F(StatusServerTest, WithoutAReaderNoDocumentIsMade) {
    serve();
    EXPECT_EQ(documents_, 0);
}

TEST_F(StatusServerTest, ACycleAnswersOneReaderAtMost) {
    const auto first = connect_to(kPath);
    const auto second = connect_to(kPath);
    block_.poll(0);
    serve_cycle("document");
    EXPECT_EQ(documents_, 1);
}

TEST_F(StatusServerTest, AReaderThatDoesNotReadDoesNotHoldUpTheCycle) {
    const auto slow = connect_to(kPath);
    serve(std::string(4000000, 'x'));  // returns, though the socket cannot take it
    EXPECT_TRUE(server_.has_readers());
}

TEST_F(StatusServerTest, AReaderThatReadsLateStillGetsTheWholeDocument) {
    const std::string document(1000000, 'x');
    const auto slow = connect_to(kPath);
    serve(document);
    std::string read;
    while (server_.has_readers()) {
        char bytes[65536];
        const ssize_t size = ::read(slow.get(), bytes, sizeof(bytes));
        ASSERT_GT(size, 0);
        read.append(bytes, static_cast<size_t>(size));
        serve();
    }
    EXPECT_EQ(read + read_to_end(slow), document);
}

TEST_F(StatusServerTest, AReaderThatTakesTooLongIsDisconnected) {
    const auto slow = connect_to(kPath);
    serve(std::string(4000000, 'x'));
    serve("", Service::StatusServer::kReaderTime);
    EXPECT_FALSE(server_.has_readers());
}

TEST_F(StatusServerTest, AReaderThatHasGoneIsForgotten) {
    auto gone = connect_to(kPath);
    gone.reset();
    serve(std::string(4000000, 'x'));
    EXPECT_FALSE(server_.has_readers());
}

TEST_F(StatusServerTest, WithoutDescriptorsAReaderIsDisconnectedAndDoesNotWait) {
    serve();  // a sanitizer's first look at an object takes a descriptor
    const auto reader = connect_to(kPath);
    rlimit old = {};
    getrlimit(RLIMIT_NOFILE, &old);
    // Below the lowest descriptor that is free: the next one cannot be had.
    const int lowest_free = dup(0);
    close(lowest_free);
    const rlimit none = {static_cast<rlim_t>(lowest_free), old.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    serve();
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(read_to_end(reader), "");
    EXPECT_EQ(block_.poll(0), 0);
}

TEST_F(StatusServerTest, ADeletedSocketIsMadeAnewInTime) {
    serve();
    unlink(kPath);
    serve("late", Service::StatusServer::kLookAfterEvery);
    const auto reader = connect_to(kPath);
    serve("hello");
    EXPECT_EQ(read_to_end(reader), "hello");
}

}  // namespace
