#include "timer/watchdog.h"

namespace Radar {

Watchdog::Watchdog(Petrel::Block* block, int seconds)
    : Timeout(block, "watchdog"), timeout(seconds) {
    kick();
}

Watchdog::~Watchdog() = default;

void Watchdog::kick() {
    set_timeout(timeout, 0, false);
}

bool Watchdog::is_triggered() {
    return Timeout::is_triggered();
}

}  // namespace Radar
