// Child processes.
#pragma once

namespace platform {

// Call this first in main(). If the process was started suspended, it blocks until it is resumed. If the parent exits
// or closes its handles instead, the process exits.
void waitUntilResumed();

}  // namespace platform
