#pragma once

#include <chrono>
#include <csignal>
#include <thread>

#include "kit/base/file_descriptor.h"
#include "petrel/block.h"

namespace Service {

/**
 * The signals that end the service: SIGINT, SIGTERM, and SIGHUP unless the process was started with
 * that one ignored. They are blocked from construction on and seen by the block's cycle; so this
 * object is made before any thread is. To be used from the block's thread.
 */
class StopSignals {
public:
    /** @throws Kit::Error when the system gives no descriptor. */
    StopSignals();
    ~StopSignals();
    StopSignals(StopSignals const&) = delete;
    StopSignals& operator=(StopSignals const&) = delete;

    /** Has `block`, which this object must outlive, watch for the signals. */
    void watch(Petrel::Block& block);

    /** Whether a signal was seen in the block's current cycle; takes it. */
    bool is_triggered();

    /**
     * From now on, for as long as this object lives, another signal ends the process, though not
     * before `earliest` has passed: one request to stop often arrives as two signals, from the
     * terminal and from the program that started the service.
     */
    void let_next_one_kill(std::chrono::milliseconds earliest);

private:
    void wait_for_next_one(std::chrono::steady_clock::time_point earliest);

    sigset_t signals_;
    Kit::FileDescriptor fd_;
    Petrel::FDPort* port_ = nullptr;
    Kit::FileDescriptor end_;
    std::thread killer_;
};

}  // namespace Service
