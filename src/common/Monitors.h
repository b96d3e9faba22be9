// The monitors of the desktop, and DPI. Everything is asked of the system anew at each call; nothing fails: where the
// system has no answer, 96 DPI and a monitor of the screen's size stand in. To be called on the main thread.
#pragma once

#include <vector>

#include "common/WideText.h"

constexpr LONG kStandardDpi = 96;

struct MonitorInfo {
    HMONITOR handle = nullptr;  // null in the record that stands in
    WideString device;          // such as \\.\DISPLAY1
    RECT bounds = {};           // in pixels of the virtual screen
    RECT workArea = {};         // the bounds without task bars
    LONG dpi = kStandardDpi;
    bool isPrimary = false;
};

// The effective DPI of a monitor, of the screen for a null one. Never 0. Older systems know only that of the screen.
LONG monitorDpi(HMONITOR monitor);
// Never 0; 96 for a null window.
LONG windowDpi(HWND window);

// In the system's order, without those that cannot be read.
std::vector<MonitorInfo> enumerateMonitors();
// The first monitor of this name, whatever its case. False leaves `out` alone.
bool findMonitorByDevice(const WideString& device, MonitorInfo& out);
// Where no monitor is primary the first is; where there is none, a record of the screen's size.
MonitorInfo primaryMonitor();
// The monitor itself: false when the system does not know it (any more).
bool readMonitor(HMONITOR monitor, MONITORINFOEXW& out);
