// The clock: real time until a test sets it; from then on it stands still, and only the test moves it.
#pragma once

#include <cstdint>

namespace platform::clock {

// Milliseconds since 1970 in UTC.
std::int64_t now();
// Whether a test has taken the clock.
bool standsStill();

// For tests.
void set(std::int64_t milliseconds);
void advance(std::int64_t milliseconds);
void useRealTime();

}  // namespace platform::clock
