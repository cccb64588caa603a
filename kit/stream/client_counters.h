#pragma once

#include <cstdint>

namespace Kit {

/** One connected client. */
struct ClientCounters {
    uint64_t id = 0;      // 1 for the first client of the relay, and so on
    uint64_t frames = 0;  // published since it was accepted: those sent, dropped and queued
    uint64_t frames_sent = 0;
    uint64_t frames_dropped = 0;
    uint64_t bytes_sent = 0;
    uint64_t queued = 0;  // frames that were not sent whole yet
};

}  // namespace Kit
