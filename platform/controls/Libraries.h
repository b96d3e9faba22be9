// Libraries that the product loads while it runs: those of controls, and those with calls that older systems lack. Each
// is always there; what it offers can be less.
#pragma once

namespace platform::desktop {

// Whether the libraries have the calls that tell the DPI of a monitor and of a window. Older systems do not.
void offerDpiCalls(bool ofMonitor, bool ofWindow);

}  // namespace platform::desktop
