// Processes that this one starts.
#pragma once

namespace platform {

// To be called by a program before anything else: one that was started suspended stops here until it is resumed. It
// ends at once when the process that started it gives it up.
void waitUntilResumed();

}  // namespace platform
