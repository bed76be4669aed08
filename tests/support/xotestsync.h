// Helpers for tests that need to see a thread blocked or released.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace xotest {

// True if flag becomes set within the time; the time only bounds a wait for something
// that must happen, so a slow machine cannot make a passing test fail.
inline bool becomesTrue(const std::atomic<bool>& flag,
                        std::chrono::milliseconds within = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + within;
    while (!flag.load()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// False if flag stays clear for the whole time: how a test sees a thread still blocked.
inline bool staysFalse(const std::atomic<bool>& flag,
                       std::chrono::milliseconds during = std::chrono::milliseconds(50)) {
    std::this_thread::sleep_for(during);
    return !flag.load();
}

} // namespace xotest
