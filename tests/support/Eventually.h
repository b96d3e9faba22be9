// Waiting in tests for what another thread or process does.
#pragma once

#include <chrono>
#include <thread>

// Looks at the condition again and again; false when it has not come true within the limit.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
