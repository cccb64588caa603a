#include "service/input_thread.h"

#include <gmock/gmock.h>
#include <poll.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "kit/base/input_error.h"
#include "tests/support/eventually.h"

namespace {

using Service::Input;
using Service::InputThread;
using State = InputThread::State;

/** What a test and its input share; outlives both, since a thread that hangs is left to itself. */
struct Script {
    std::atomic<bool> hangs{false};
    std::atomic<int> frames{3};
    std::atomic<bool> fails{false};
    std::atomic<int> calls{0};
};

/** Frames with the timestamps 1, 2 and so on, then the end or a failure. */
class ScriptedInput : public Input {
public:
    explicit ScriptedInput(std::shared_ptr<Script> script) : script_(std::move(script)) {}

    Clock::time_point due() const override { return {}; }

    Result next(RO::RadarObjects& frame, Service::FrameConditions&) override {
        ++script_->calls;
        while (script_->hangs) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (taken_ == script_->frames) {
            if (script_->fails) throw Kit::InputError("damaged");
            return Result::kEnd;
        }
        frame.set_timestamp(static_cast<uint64_t>(++taken_));
        return Result::kFrame;
    }

    bool can_wait() const override { return true; }

    Kit::InputStatus status() const override {
        Kit::InputStatus status;
        status.name = "script";
        return status;
    }

private:
    std::shared_ptr<Script> script_;
    int taken_ = 0;
};

class InputThreadTest : public testing::Test {
protected:
    ~InputThreadTest() override { script_->hangs = false; }

    void start() {
        Kit::InputStatus unopened;
        unopened.name = "unopened";
        input_ = std::make_unique<InputThread>(
            [script = script_] { return std::make_unique<ScriptedInput>(script); }, unopened);
    }

    /** Waits until the descriptor tells of a change, and acknowledges it. */
    bool await_change() {
        pollfd wait = {input_->fd(), POLLIN, 0};
        const bool changed = poll(&wait, 1, 30000) == 1;
        input_->acknowledge();
        return changed;
    }

    void await_end() {
        ASSERT_TRUE(test_support::eventually([&] { return input_->is_finished(); }));
    }

    std::shared_ptr<Script> script_ = std::make_shared<Script>();
    std::unique_ptr<InputThread> input_;
};

TEST_F(InputThreadTest, FramesComeInOrderAndThenTheEnd) {
    start();
    await_end();
    for (uint64_t i = 1; i <= 3; ++i) EXPECT_EQ(input_->take()->frame.timestamp(), i);
    EXPECT_FALSE(input_->take());
    EXPECT_EQ(input_->state(), State::kEnded);
}

TEST_F(InputThreadTest, AChangeIsToldOnTheDescriptor) {
    start();
    EXPECT_TRUE(await_change());
}

TEST_F(InputThreadTest, AFailureIsKeptUntilItIsAskedFor) {
    script_->fails = true;
    start();
    await_end();
    EXPECT_EQ(input_->state(), State::kFailed);
    EXPECT_THROW(std::rethrow_exception(input_->failure()), Kit::InputError);
    EXPECT_TRUE(input_->has_frame());
}

TEST_F(InputThreadTest, AnInputThatCannotBeOpenedHasFailed) {
    input_ = std::make_unique<InputThread>(
        []() -> std::unique_ptr<Input> { throw Kit::InputError("none"); }, Kit::InputStatus());
    await_end();
    EXPECT_EQ(input_->state(), State::kFailed);
}

TEST_F(InputThreadTest, WhenTheQueueIsFullTheInputWaitsAndNoFrameIsLost) {
    constexpr int kFrames = 300;
    script_->frames = kFrames;
    start();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_LE(input_->status().queued, InputThread::kMostFrames);
    for (uint64_t i = 1; i <= kFrames; ++i) {
        while (!input_->has_frame()) std::this_thread::yield();
        ASSERT_EQ(input_->take()->frame.timestamp(), i);
    }
}

TEST_F(InputThreadTest, TheStatusHasTheFramesThatWereReadAndThatWait) {
    start();
    await_end();
    input_->take();
    EXPECT_EQ(input_->status().name, "script");
    EXPECT_EQ(input_->status().frames_read, 3U);
    EXPECT_EQ(input_->status().queued, 2U);
}

TEST_F(InputThreadTest, StoppingEndsAnInputThatHasMore) {
    script_->frames = 1000000;
    start();
    input_->stop();
    await_end();
    EXPECT_TRUE(input_->is_finished());
}

TEST_F(InputThreadTest, ACallThatHangsHoldsNobodyUp) {
    script_->hangs = true;
    start();
    ASSERT_TRUE(test_support::eventually([&] { return script_->calls > 0; }));
    EXPECT_EQ(input_->status().name, "script");
    EXPECT_FALSE(input_->take());
    EXPECT_GT(input_->stuck_for(InputThread::Clock::now() + std::chrono::seconds(5)),
              std::chrono::seconds(4));
    input_->stop();
    EXPECT_FALSE(input_->is_finished());
    const auto begin = InputThread::Clock::now();
    input_.reset();
    EXPECT_LT(InputThread::Clock::now() - begin, std::chrono::seconds(2));
}

}  // namespace
