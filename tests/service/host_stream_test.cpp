#include <sys/socket.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "kit/stream/client.h"
#include "tests/service/host_fixture.h"
#include "tests/support/eventually.h"

/** What the consumers of the running program get. */
namespace {

using Kit::StreamClient;
using Kit::StreamFrame;
using service_test::kLog;
using test_support::connect_to;
using test_support::frames_of;
using test_support::number;

/** The next frames of a stream; fewer when they do not come. */
std::vector<RO::RadarObjects> next_frames(StreamClient& client, int count) {
    std::vector<RO::RadarObjects> frames;
    StreamFrame frame;
    for (int i = 0; i < count; ++i) {
        if (client.next(frame, test_support::kPatience) != StreamClient::Result::kFrame) break;
        frames.push_back(frame.objects);
    }
    return frames;
}

class HostStreamTest : public service_test::HostTest {
protected:
    /** Plays frames whose timestamps are `step_us` apart, over and over. */
    void start_loop(int count, uint64_t step_us, std::vector<std::string> more = {}) {
        test_support::write_file(kLog, test_support::log_of(frames_of(count, step_us)));
        more.insert(more.end(), {"--input", kLog, "--loop"});
        start(std::move(more)).await_ready();
    }
};

TEST_F(HostStreamTest, AConsumerReadsWholeFramesFromTheFirstByteOn) {
    start_loop(1000, 10000);
    StreamClient client(host_->socket());
    EXPECT_EQ(next_frames(client, 5).size(), 5U);
}

TEST_F(HostStreamTest, FramesHaveTheTimestampsOfTheLog) {
    start_loop(1000, 10000);
    StreamClient client(host_->socket());
    for (RO::RadarObjects const& frame : next_frames(client, 5)) {
        EXPECT_EQ(frame.timestamp() % 10000, 0U);
        EXPECT_LT(frame.timestamp(), 11000000U);
    }
}

TEST_F(HostStreamTest, FramesHaveTheTargetsOfTheLog) {
    start_loop(1000, 10000);
    StreamClient client(host_->socket());
    const auto frames = next_frames(client, 1);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].ShortDebugString(),
              test_support::frame_at(frames[0].timestamp(), 2).ShortDebugString());
}

TEST_F(HostStreamTest, ALogIsPlayedAtItsOwnPace) {
    start_loop(1000, 10000);
    StreamClient client(host_->socket());
    next_frames(client, 1);
    const auto before = std::chrono::steady_clock::now();
    next_frames(client, 20);
    // The first of them may be on its way already.
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(170));
}

TEST_F(HostStreamTest, AFrameWithMoreTargetsThanTheLimitHasTheFirstOnes) {
    test_support::write_file(kLog, test_support::log_of({test_support::frame_at(1000, 5),
                                                         test_support::frame_at(2000, 5)}));
    start({"--input", kLog, "--loop", "--settings", settings_file("TargetLimit=3\n")})
        .await_ready();
    StreamClient client(host_->socket());
    const auto frames = next_frames(client, 1);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].ShortDebugString(),
              test_support::frame_at(frames[0].timestamp(), 3).ShortDebugString());
}

/** Consumers that give trouble, and others that should not notice. */
class HostConsumersTest : public HostStreamTest {
protected:
    static constexpr int kGoodClients = 11;

    void SetUp() override {
        HostStreamTest::SetUp();
        if (IsSkipped()) return;
        start_loop(3000, 5000);
        good_.reserve(kGoodClients);
        for (int i = 0; i < kGoodClients; ++i) {
            good_.push_back(std::make_unique<StreamClient>(host_->socket()));
        }
    }

    /** Whether every good client gets so many frames, each the one after the one before. */
    void expect_every_frame_in_order(int count) {
        for (auto const& client : good_) {
            const auto frames = next_frames(*client, count);
            ASSERT_EQ(frames.size(), static_cast<size_t>(count));
            for (size_t i = 1; i < frames.size(); ++i) {
                ASSERT_EQ(frames[i].timestamp() - frames[i - 1].timestamp(), 5000U) << i;
            }
        }
    }

    /** The good clients read on, so that nobody else is stuck, until `condition` holds. */
    template <typename Condition>
    nlohmann::json read_until(Condition condition) {
        std::atomic<bool> done{false};
        std::thread reader([&] {
            while (!done) {
                for (auto const& client : good_) next_frames(*client, 1);
            }
        });
        const auto status = host_->await_status(condition);
        done = true;
        reader.join();
        return status;
    }

    std::vector<std::unique_ptr<StreamClient>> good_;
};

TEST_F(HostConsumersTest, SixteenOfWhichFiveMisbehaveGetEveryFrameInOrder) {
    const auto stopped = connect_to(host_->socket());
    const auto slow = connect_to(host_->socket());
    const auto half_closed = connect_to(host_->socket());
    shutdown(half_closed.get(), SHUT_WR);
    auto dying = connect_to(host_->socket());
    std::atomic<bool> done{false};
    std::thread trouble([&] {
        char bytes[20];
        ssize_t ignored = read(dying.get(), bytes, sizeof(bytes));  // in the middle of a frame
        dying.reset();
        for (int i = 0; i < 100 && !done; ++i) {
            connect_to(host_->socket()).reset();
            ignored = read(slow.get(), bytes, 1);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        (void)ignored;  // whatever these clients get, they are not what the test looks at
    });
    expect_every_frame_in_order(200);
    done = true;
    trouble.join();
}

TEST_F(HostConsumersTest, AStuckOneIsDisconnectedAndCounted) {
    const auto stuck = connect_to(host_->socket());
    read_until([](auto const& status) { return status["stream"]["clients_dropped_stuck"] != "0"; });
    EXPECT_EQ(host_->status()["stream"]["clients_dropped_stuck"], "1");
}

TEST_F(HostConsumersTest, FramesThatAConsumerMissesAreCounted) {
    const auto stuck = connect_to(host_->socket());
    read_until([](auto const& status) { return status["stream"]["frames_dropped"] != "0"; });
}

TEST_F(HostStreamTest, ConsumersLeaveTheDescriptorsThatFilesAndTheStatusTake) {
    const std::vector<std::string> limited = {"/bin/sh", "-c", "ulimit -n 80; exec \"$@\"", "sh"};
    const std::string settings = settings_file("FileWriterMaxFileSize=3000\n");
    host_ = std::make_unique<test_support::HostProcess>(
        std::vector<std::string>{"--input", "scene", "--settings", settings},
        test_support::HostProcess::Environment(), limited);
    host_->await_ready();
    std::vector<Kit::FileDescriptor> consumers;
    for (int i = 0; i < 100; ++i) consumers.push_back(test_support::connect_to(host_->socket()));
    const auto files = [](auto const& status) {
        return number(status["recorders"]["objects"]["files_completed"]);
    };
    const auto full = host_->await_status(
        [](auto const& status) { return status["stream"]["clients"].size() == 40; });
    const auto later =
        host_->await_status([&](auto const& status) { return files(status) > files(full) + 1; });
    EXPECT_EQ(later["recorders"]["objects"]["errors"], "0");
}

TEST_F(HostConsumersTest, AHalfClosedOneStillGetsFrames) {
    const int half_closed = connect_to(host_->socket()).release();
    shutdown(half_closed, SHUT_WR);
    StreamClient client(half_closed);
    EXPECT_EQ(next_frames(client, 20).size(), 20U);
}

}  // namespace
