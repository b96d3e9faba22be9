// The side of the clock that only the stand-in sees; Machine.h has the rest.
#pragma once

namespace platform::clock {

// Whether a test has taken the clock.
bool standsStill();

}  // namespace platform::clock
