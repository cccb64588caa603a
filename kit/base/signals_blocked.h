#pragma once

#include <csignal>

namespace Kit {

/**
 * While an object lives, all signals are blocked for the thread that made it, and for good for the
 * threads that this one starts: signals are the main thread's. Made and destroyed on one thread.
 */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);  // fails for an unknown operation only
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;

private:
    sigset_t before_ = {};
};

}  // namespace Kit
