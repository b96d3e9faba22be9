// Queries of monitors and DPI. The DPI calls that older versions of Windows lack are looked up at run time.
#include "common/Monitors.h"

#include <shellscalingapi.h>

#include "common/DrawingHandles.h"

namespace {

using DpiForMonitor = HRESULT(WINAPI*)(HMONITOR, MONITOR_DPI_TYPE, UINT*, UINT*);
using DpiForWindow = UINT(WINAPI*)(HWND);

// Calls that older versions of Windows do not have; null if missing.
struct DpiApi {
    DpiForMonitor getDpiForMonitor;
    DpiForWindow getDpiForWindow;
};

template <typename Call>
Call findCall(HMODULE module, LPCSTR name) {
    return module == nullptr ? nullptr : reinterpret_cast<Call>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

const DpiApi& dpiApi() {
    static const DpiApi api = [] {
        return DpiApi{findCall<DpiForMonitor>(LoadLibraryW(TEXT("Shcore.dll")), "GetDpiForMonitor"),
                      findCall<DpiForWindow>(GetModuleHandleW(TEXT("user32.dll")), "GetDpiForWindow")};
    }();
    return api;
}

LONG orStandard(LONG dpi) {
    return dpi == 0 ? kStandardDpi : dpi;
}

LONG screenDpi() {
    const WindowDc screen(nullptr);
    return screen.get() == nullptr ? kStandardDpi : orStandard(GetDeviceCaps(screen.get(), LOGPIXELSX));
}

BOOL CALLBACK collect(HMONITOR handle, HDC, LPRECT, LPARAM list) {
    MONITORINFOEXW info = {};
    if (readMonitor(handle, info))
        reinterpret_cast<std::vector<MonitorInfo>*>(list)->push_back({handle, info.szDevice, info.rcMonitor,
                                                                      info.rcWork, monitorDpi(handle),
                                                                      (info.dwFlags & MONITORINFOF_PRIMARY) != 0});
    return TRUE;
}

MonitorInfo screenAsMonitor() {
    MonitorInfo screen;
    screen.bounds = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    screen.workArea = screen.bounds;
    screen.isPrimary = true;
    return screen;
}

}  // namespace

LONG monitorDpi(HMONITOR monitor) {
    const DpiForMonitor getDpiForMonitor = dpiApi().getDpiForMonitor;
    if (getDpiForMonitor == nullptr || monitor == nullptr) return screenDpi();
    UINT x = kStandardDpi, y = kStandardDpi;
    if (FAILED(getDpiForMonitor(monitor, MDT_EFFECTIVE_DPI, &x, &y))) return screenDpi();
    return orStandard(static_cast<LONG>(x));
}

LONG windowDpi(HWND window) {
    if (window == nullptr) return kStandardDpi;
    if (const DpiForWindow getDpiForWindow = dpiApi().getDpiForWindow)
        if (const UINT dpi = getDpiForWindow(window); dpi != 0) return static_cast<LONG>(dpi);
    return monitorDpi(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST));
}

bool readMonitor(HMONITOR monitor, MONITORINFOEXW& out) {
    out = {};
    out.cbSize = sizeof out;
    return GetMonitorInfoW(monitor, reinterpret_cast<LPMONITORINFO>(&out)) != FALSE;
}

std::vector<MonitorInfo> enumerateMonitors() {
    std::vector<MonitorInfo> monitors;
    EnumDisplayMonitors(nullptr, nullptr, collect, reinterpret_cast<LPARAM>(&monitors));
    return monitors;
}

bool findMonitorByDevice(const WideString& device, MonitorInfo& out) {
    if (device.empty()) return false;
    for (MonitorInfo& monitor : enumerateMonitors()) {
        if (!equalsIgnoreCase(monitor.device, device)) continue;
        out = std::move(monitor);
        return true;
    }
    return false;
}

MonitorInfo primaryMonitor() {
    std::vector<MonitorInfo> monitors = enumerateMonitors();
    for (MonitorInfo& monitor : monitors)
        if (monitor.isPrimary) return std::move(monitor);
    return monitors.empty() ? screenAsMonitor() : std::move(monitors.front());
}
