// The monitors, and which monitor a window or rectangle is on.
#pragma once

#include <shellscalingapi.h>

#include <vector>

#include "machine/Machine.h"
#include "windows/Window.h"

namespace platform {

namespace desktop {

// The monitors of machine.txt, unless a test has set others. On a change, the top-level windows of the process get
// WM_DISPLAYCHANGE, and those with a new DPI also get WM_DPICHANGED.
std::vector<Monitor> monitors();
void setMonitors(std::vector<Monitor> monitors);

}  // namespace desktop

// The DPI of the monitor nearest to the window; 96 if there is no monitor.
LONG dpiOfWindow(const Window& window);

// The DPI of the primary monitor; 96 if there is none.
LONG dpiOfScreen();

// The product gets these through GetProcAddress only.
HRESULT WINAPI getDpiForMonitor(HMONITOR monitor, MONITOR_DPI_TYPE type, UINT* x, UINT* y);
UINT WINAPI getDpiForWindow(HWND window);

}  // namespace platform
