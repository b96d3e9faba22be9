// What every wait of the process stands on: one lock and one condition for all that can end a wait (an event, the
// end of a thread, a message, a timer, a finished read), and the tick clock that time limits are counted by. When a
// test has taken the clock (Clock.h), a time limit passes only when the test moves it.
#pragma once

#include <cstdint>
#include <limits>
#include <mutex>

namespace platform::waiting {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

// Milliseconds of GetTickCount64: since the system started, or the test's own time.
std::uint64_t ticks();

// Guards everything that a thread can wait for: take it to read or change such state. Call nothing while it is held.
std::mutex& lock();
// Makes every waiter check its condition again. Call it after a change.
void wake();
// Sleeps until wake(), or until the tick clock has reached `deadline`; wakes at times for no reason.
void sleep(std::unique_lock<std::mutex>& held, std::uint64_t deadline);

// Sleeps until `ready()` or the deadline; says what `ready()` answered last.
template <typename Ready>
bool sleepUntil(std::unique_lock<std::mutex>& held, std::uint64_t deadline, Ready ready) {
    while (!ready()) {
        if (ticks() >= deadline) return false;
        sleep(held, deadline);
    }
    return true;
}

// While a test has the clock: whether anybody sleeps whose time has not come yet.
bool isTimeAwaited();

// The tick that lies a Windows time limit away from now; INFINITE gives kNever.
std::uint64_t deadlineAfter(std::uint32_t milliseconds);

}  // namespace platform::waiting
