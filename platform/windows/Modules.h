// Calls that are reached through GetProcAddress only.
#pragma once

#include <shellscalingapi.h>

namespace platform {

HRESULT WINAPI getDpiForMonitor(HMONITOR monitor, MONITOR_DPI_TYPE type, UINT* x, UINT* y);
UINT WINAPI getDpiForWindow(HWND window);

}  // namespace platform
