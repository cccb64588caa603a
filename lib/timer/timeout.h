#pragma once

#include <string>

#include "petrel/block.h"
#include "petrelradar_export.h"

namespace Radar {

/**
 * A kernel timer on the monotonic clock that a block of the framework watches: the block's cycle
 * waits for it, and is_triggered() reports afterwards whether it ran out.
 *
 * Owns the timer's descriptor and closes it when it is destroyed; the port stays the block's, which
 * must outlive this object's use. To be used from the thread that runs the block's cycle. Nothing
 * throws for a failure of the timer: it is logged at level 2. Neither copied nor moved.
 */
class PETRELRADAR_API Timeout {
public:
    /**
     * Creates a disarmed timer and registers it with `block` under `name`. When the system has no
     * timer left, later calls log their failure and the timeout never triggers.
     */
    Timeout(Petrel::Block* block, std::string name);
    ~Timeout();
    Timeout(Timeout const&) = delete;
    Timeout& operator=(Timeout const&) = delete;

    /**
     * Arms the timer to run out `sec` seconds and `nsec` nanoseconds (below 1,000,000,000) from
     * now, and then again after each such period if `repeat` is set. 0 and 0 disarm it. Replaces
     * the setting before; a setting that the kernel refuses, such as a negative time, is logged and
     * leaves that one in place.
     */
    void set_timeout(long sec, long nsec, bool repeat);

    /**
     * Whether the timer was seen to run out in the block's current cycle. Consumes the expiry;
     * several since the last call count as one. True also when the expiry could not be consumed,
     * which is logged.
     */
    bool is_triggered();

private:
    Petrel::FDEvent::EventMask events;
    int fd;
    Petrel::FDPort* port;
};

}  // namespace Radar
