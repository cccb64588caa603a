#pragma once

#include "chip/command.h"
#include "chip/device_server.h"
#include "chip/frame_feed.h"
#include "kit/base/file_descriptor.h"

namespace Chip {

/**
 * The simulated chip's main loop: answers the device's requests, lets frames become due, passes
 * signals on to the command and waits for its end. Nothing is owned. One thread.
 */
class Simulator {
public:
    /**
     * @param command the program beside the chip; null when there is none, then SIGINT and SIGTERM
     * end the loop.
     * @throws Kit::Error when the system gives no descriptor for the signals.
     */
    Simulator(DeviceServer& device, FrameFeed& feed, Command* command);

    /** Runs until the command has ended; returns its exit status, 0 when there is none. */
    int run();

private:
    void wait();
    /** Returns whether the program is asked to end. */
    bool take_signal();

    DeviceServer& device_;
    FrameFeed& feed_;
    Command* command_;
    Kit::FileDescriptor signals_;
    bool mounted_ = true;
    bool requested_ = false;
    bool signalled_ = false;
};

}  // namespace Chip
