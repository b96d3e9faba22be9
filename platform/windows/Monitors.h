// The monitors, and which of them something is on.
#pragma once

#include <shellscalingapi.h>

#include <vector>

#include "machine/Machine.h"
#include "windows/Window.h"

namespace platform {

namespace desktop {

// The monitors of the machine, which machine.txt describes, until a test sets others. A change is told to the
// top-level windows of the process with WM_DISPLAYCHANGE, and with WM_DPICHANGED to those whose DPI is another now.
std::vector<Monitor> monitors();
void setMonitors(std::vector<Monitor> monitors);

}  // namespace desktop

// Of the monitor nearest to the window; 96 without any monitor.
LONG dpiOfWindow(const Window& window);

// Of the primary monitor; 96 without any.
LONG dpiOfScreen();

// Calls that are reached through GetProcAddress only.
HRESULT WINAPI getDpiForMonitor(HMONITOR monitor, MONITOR_DPI_TYPE type, UINT* x, UINT* y);
UINT WINAPI getDpiForWindow(HWND window);

}  // namespace platform
