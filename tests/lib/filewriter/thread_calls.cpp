#include "lib/filewriter/thread_calls.h"

#include <dlfcn.h>
#include <pthread.h>

// Clang's thread sanitizer is part of the program and takes these functions itself.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define PETRELRADAR_FIXED_THREAD_CALLS 1
#endif
#endif

namespace test_support {

std::function<void()> before_join;
thread_local CountedLocks counted_locks;

bool can_see_thread_calls() {
#ifdef PETRELRADAR_FIXED_THREAD_CALLS
    return false;
#else
    return true;
#endif
}

}  // namespace test_support

#ifndef PETRELRADAR_FIXED_THREAD_CALLS

namespace {

/** The function that the program would call without its own. */
template <typename Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int pthread_join(pthread_t thread, void** result) {
    static auto* const real = next<int(pthread_t, void**)>("pthread_join");
    if (test_support::before_join) test_support::before_join();
    return real(thread, result);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
    static auto* const real = next<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    ++test_support::counted_locks.exclusive;
    return real(lock);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
    static auto* const real = next<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    ++test_support::counted_locks.shared;
    return real(lock);
}

#endif
