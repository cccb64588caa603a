#include "tools/cli/wait.h"

#include <poll.h>

#include <algorithm>

namespace Tools {

void wait_a_tick(std::chrono::milliseconds longest) {
    wait_a_tick_for(-1, 0, longest);
}

bool wait_a_tick_for(int fd, short events, std::chrono::milliseconds longest) {
    pollfd wait = {fd, events, 0};
    const auto time = std::clamp(longest, std::chrono::milliseconds(0), kTick);
    return poll(&wait, 1, static_cast<int>(time.count())) > 0;
}

}  // namespace Tools
