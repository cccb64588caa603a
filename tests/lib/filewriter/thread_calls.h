#pragma once

#include <functional>

namespace test_support {

/** Whether this build lets a program take the place of the functions of the thread library. */
bool can_see_thread_calls();

/** What is done before any thread is joined; nothing when it is not set. To be reset after use. */
extern std::function<void()> before_join;

/** How often a reader-writer lock was taken. */
struct CountedLocks {
    int exclusive = 0;
    int shared = 0;
};

/** The locks that this thread has taken. */
extern thread_local CountedLocks counted_locks;

}  // namespace test_support
