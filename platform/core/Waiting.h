// The base of every wait in the process. One lock and one condition variable serve everything that can end a wait: an
// event, a thread that ends, a message, a timer, a finished read. The tick clock measures timeouts. While a test
// controls the clock (Clock.h), a timeout expires only when the test moves the clock.
#pragma once

#include <cstdint>
#include <limits>
#include <mutex>

namespace platform::waiting {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

// GetTickCount64 in milliseconds: the time since the system started, or the time that the test set.
std::uint64_t ticks();

// Guards everything that a thread can wait for. Take it to read or change such state, and call nothing while you hold
// it.
std::mutex& lock();
// Makes every waiting thread check its condition again. Call it after each change.
void wake();
// Sleeps until wake() or until the tick clock reaches `deadline`. Spurious wake-ups are possible.
void sleep(std::unique_lock<std::mutex>& held, std::uint64_t deadline);

// Sleeps until `ready()` returns true or the deadline passes. Returns the last result of `ready()`.
template <typename Ready>
bool sleepUntil(std::unique_lock<std::mutex>& held, std::uint64_t deadline, Ready ready) {
    while (!ready()) {
        if (ticks() >= deadline) return false;
        sleep(held, deadline);
    }
    return true;
}

// While a test controls the clock: whether any thread sleeps with a deadline in the future.
bool isTimeAwaited();

// Converts a Windows timeout to a deadline in ticks; INFINITE gives kNever.
std::uint64_t deadlineAfter(std::uint32_t milliseconds);

}  // namespace platform::waiting
