// Waits for a condition. The limit is generous, so that a slow machine does not reach it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <thread>

namespace zv::support {

inline constexpr std::uint32_t generousMs = 60000;

/// Tests the condition again and again, at first after 1 ms and later every 20 ms. Returns false if it did not become
/// true within the limit.
template <class Condition>
bool Eventually(const Condition& condition, std::uint32_t limitMs = generousMs) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    std::chrono::milliseconds pause(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace zv::support
