// The clock. It shows real time until a test sets it. From then on it moves only when the test moves it.
#pragma once

#include <cstdint>

namespace platform::clock {

// Milliseconds since 1970 (UTC).
std::int64_t now();
// Whether a test controls the clock.
bool standsStill();

// For tests.
void set(std::int64_t milliseconds);
void advance(std::int64_t milliseconds);
void useRealTime();

}  // namespace platform::clock
