#pragma once

#include <chrono>

namespace Tools {

/** How long a wait lasts at most, and so how soon Ctrl-C, a key or a reader's end is noticed. */
constexpr std::chrono::milliseconds kTick{50};

/**
 * Waits `longest`, at most a tick; not at all when it is 0 or negative. A signal ends the wait, so
 * what is waited for is to be checked afterwards in any case.
 */
void wait_a_tick(std::chrono::milliseconds longest = kTick);

/** Waits likewise until `fd` has one of `events`, as poll() names them; whether it has. */
bool wait_a_tick_for(int fd, short events, std::chrono::milliseconds longest = kTick);

}  // namespace Tools
