#pragma once

#include "petrel/block.h"
#include "petrelradar_export.h"
#include "timer/timeout.h"

namespace Radar {

/**
 * A timeout that runs out unless it is kicked in time. Armed from construction on; when it runs
 * out, is_triggered() reports it once, and it stays quiet until the next kick(). Ownership, thread
 * and failures are those of Timeout.
 */
class PETRELRADAR_API Watchdog : public Timeout {
public:
    /**
     * Registers with `block` as "watchdog" and starts a period of `seconds`. A period of 0 never
     * runs out; nor does a negative one, which the kernel refuses at every kick().
     */
    Watchdog(Petrel::Block* block, int seconds);
    ~Watchdog();

    /** Restarts the period. A failure is logged. */
    void kick();

    /** Whether the period ran out in the block's current cycle; see Timeout::is_triggered(). */
    bool is_triggered();

private:
    int timeout;
};

}  // namespace Radar
