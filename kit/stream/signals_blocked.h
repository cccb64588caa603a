#pragma once

#include <csignal>

namespace Kit {

/** Blocks all signals for the calling thread while it lives, and so for the threads that this one
 * starts meanwhile. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;

private:
    sigset_t before_ = {};
};

}  // namespace Kit
