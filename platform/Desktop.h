// The desktop that this process shows its windows on, and what a test may do to it: monitors, the end of the session,
// a look at the windows.
#pragma once

#include <windef.h>

#include <string>
#include <vector>

#include "Machine.h"

namespace platform {

namespace desktop {

// The monitors of the machine, which machine.txt describes, until a test sets others. A change is told to the
// top-level windows of the process with WM_DISPLAYCHANGE, and with WM_DPICHANGED to those whose DPI is another now.
std::vector<Monitor> monitors();
void setMonitors(std::vector<Monitor> monitors);
// Whether the libraries have the calls that tell the DPI of a monitor and of a window. Older systems do not.
void offerDpiCalls(bool ofMonitor, bool ofWindow);

// Dispatches what the calling thread's queue holds, until it is empty. Says whether the quit mark was met.
bool pump();

// Which window is active in this thread; null when none is.
HWND activeWindow();

// The window tree of the process as text, the uppermost window first: one line each, "class" rectangle flags text.
std::string describeWindows();

// Lets other processes of the machine reach the windows of this one, from the first call on. See docs/platform.md.
void serveFromOutside();

}  // namespace desktop
}  // namespace platform
