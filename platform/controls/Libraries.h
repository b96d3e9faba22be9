// Libraries that the product loads at run time: the control libraries, and those whose exports older systems lack.
// Loading one of them always succeeds, but an export can be missing.
#pragma once

namespace platform::desktop {

// Sets whether the libraries export the functions that return the DPI of a monitor and of a window. Older systems lack
// them.
void offerDpiCalls(bool ofMonitor, bool ofWindow);

}  // namespace platform::desktop
