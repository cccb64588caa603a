#pragma once

#include <chrono>
#include <thread>

namespace test_support {

/** The time limit for whatever a test waits for; no test needs as much. */
constexpr std::chrono::seconds kPatience(30);

/** Waits until `condition` holds; returns false when it does not within kPatience. */
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace test_support
