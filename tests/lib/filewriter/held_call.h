#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace test_support {

/**
 * A call that another thread makes again and again, in which the test can hold that thread. What
 * the thread did before a call happened before what the test does after waiting for that call.
 */
class HeldCall {
public:
    /** The call itself, on the other thread: returns after `pause`, or when it is let go. */
    void operator()(std::chrono::milliseconds pause = std::chrono::milliseconds(0)) {
        thread_local bool known = false;
        std::unique_lock<std::mutex> lock(mutex_);
        if (!known) ++threads_;
        known = true;
        ++calls_;
        inside_ = true;
        changed_.notify_all();
        changed_.wait_for(lock, pause, [] { return false; });
        EXPECT_TRUE(changed_.wait_for(lock, kLimit, [this] { return !held_; })) << "held for ever";
        inside_ = false;
        changed_.notify_all();
    }

    /** Waits until the thread is inside the call and keeps it there. */
    void hold() {
        std::unique_lock<std::mutex> lock(mutex_);
        held_ = true;
        EXPECT_TRUE(changed_.wait_for(lock, kLimit, [this] { return inside_; })) << "no call";
    }

    /** Keeps the thread inside the next call; does not wait for it. */
    void hold_next() {
        const std::lock_guard<std::mutex> lock(mutex_);
        held_ = true;
    }

    /** Lets the thread go on. */
    void let_go() {
        const std::lock_guard<std::mutex> lock(mutex_);
        held_ = false;
        changed_.notify_all();
    }

    /** Waits until the thread has begun two more calls: between them it saw everything. */
    void wait_for_a_round() {
        std::unique_lock<std::mutex> lock(mutex_);
        const int awaited = calls_ + 2;
        EXPECT_TRUE(changed_.wait_for(lock, kLimit, [&] { return calls_ >= awaited; }))
            << "no call";
    }

    bool is_inside() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return inside_;
    }

    int calls() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }

    /** How many threads have made the call. */
    int threads() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return threads_;
    }

private:
    static constexpr std::chrono::seconds kLimit{30};

    std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    bool inside_ = false;
    int calls_ = 0;
    int threads_ = 0;
};

}  // namespace test_support
