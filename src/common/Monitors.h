// Monitors and DPI. Each call asks the system again. Nothing fails: if the system has no answer, the result is 96 DPI,
// or one monitor of the screen's size. Main thread only.
#pragma once

#include <vector>

#include "common/WideText.h"

constexpr LONG kStandardDpi = 96;

struct MonitorInfo {
    HMONITOR handle = nullptr;  // null in the replacement for a missing monitor
    WideString device;          // such as \\.\DISPLAY1
    RECT bounds = {};           // in pixels of the virtual screen
    RECT workArea = {};         // the bounds without task bars
    LONG dpi = kStandardDpi;
    bool isPrimary = false;
};

// The effective DPI of a monitor, or of the screen for a null handle. Never 0. Where GetDpiForMonitor is missing
// (before Windows 8.1) it is always the screen's.
LONG monitorDpi(HMONITOR monitor);
// The effective DPI of a window, 96 for a null handle. Never 0.
LONG windowDpi(HWND window);

// All monitors in the system's order, without those whose data cannot be read.
std::vector<MonitorInfo> enumerateMonitors();
// Finds the first monitor with this device name, ignoring case. False leaves `out` unchanged.
bool findMonitorByDevice(const WideString& device, MonitorInfo& out);
// The primary monitor; the first one if none is primary; a record of the screen's size if there are no monitors.
MonitorInfo primaryMonitor();
// Calls GetMonitorInfoW. False when the monitor is not there any more.
bool readMonitor(HMONITOR monitor, MONITORINFOEXW& out);
