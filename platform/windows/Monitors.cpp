// The functions that return monitors and their DPI. Called by the product and the window tree on any thread. Tests may
// replace the monitors; a lock guards them.
#include "windows/Monitors.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>

#include "core/Error.h"
#include "core/Gate.h"

namespace platform {
namespace {

struct Display {
    std::mutex lock;
    std::optional<std::vector<Monitor>> monitors;  // nullopt: the monitors of machine.txt
};

Display& display() {
    static Display& instance = *new Display;
    return instance;
}

// The handle of a monitor is its 1-based index in the list.
HMONITOR handleOf(std::size_t index) {
    return reinterpret_cast<HMONITOR>(0x10000 + index);
}

std::optional<std::size_t> indexOf(HMONITOR handle, std::size_t count) {
    const std::size_t index = reinterpret_cast<std::size_t>(handle) - 0x10000;
    if (index < count) return index;
    return std::nullopt;
}

RECT intersection(const RECT& one, const RECT& other) {
    return {std::max(one.left, other.left), std::max(one.top, other.top), std::min(one.right, other.right),
            std::min(one.bottom, other.bottom)};
}

LONGLONG area(const RECT& rect) {
    if (rect.right <= rect.left || rect.bottom <= rect.top) return 0;
    return (LONGLONG{rect.right} - rect.left) * (LONGLONG{rect.bottom} - rect.top);
}

// The square of the distance between the two rectangles.
LONGLONG distance(const RECT& one, const RECT& other) {
    const auto gap = [](LONGLONG oneFrom, LONGLONG oneTo, LONGLONG otherFrom, LONGLONG otherTo) {
        return std::max({otherFrom - oneTo, oneFrom - otherTo, LONGLONG{0}});
    };
    const LONGLONG x = gap(one.left, one.right, other.left, other.right);
    const LONGLONG y = gap(one.top, one.bottom, other.top, other.bottom);
    return x * x + y * y;
}

HMONITOR primaryOf(const std::vector<Monitor>& monitors) {
    for (std::size_t i = 0; i < monitors.size(); ++i)
        if (monitors[i].isPrimary) return handleOf(i);
    return monitors.empty() ? nullptr : handleOf(0);
}

HMONITOR monitorAt(RECT rect, DWORD otherwise) {
    const std::vector<Monitor> monitors = desktop::monitors();
    // Treats an empty rectangle as a rectangle of one pixel.
    constexpr LONG kFarthest = std::numeric_limits<LONG>::max() - 1;
    if (rect.right <= rect.left) rect.right = std::min(rect.left, kFarthest) + 1;
    if (rect.bottom <= rect.top) rect.bottom = std::min(rect.top, kFarthest) + 1;
    HMONITOR found = nullptr;
    LONGLONG most = 0, least = std::numeric_limits<LONGLONG>::max();
    for (std::size_t i = 0; i < monitors.size(); ++i)
        if (const LONGLONG common = area(intersection(rect, monitors[i].bounds)); common > most) {
            most = common;
            found = handleOf(i);
        }
    if (found != nullptr || otherwise == MONITOR_DEFAULTTONULL) return found;
    if (otherwise == MONITOR_DEFAULTTOPRIMARY) return primaryOf(monitors);
    for (std::size_t i = 0; i < monitors.size(); ++i)
        if (const LONGLONG apart = distance(rect, monitors[i].bounds); apart < least) {
            least = apart;
            found = handleOf(i);
        }
    return found;
}

}  // namespace

std::vector<Monitor> desktop::monitors() {
    std::lock_guard hold(display().lock);
    return display().monitors ? *display().monitors : machine().monitors;
}

void desktop::setMonitors(std::vector<Monitor> monitors) {
    {
        std::lock_guard hold(display().lock);
        display().monitors = std::move(monitors);
    }
    for (const auto& window : topLevelWindows()) {
        followMonitorDpi(window);
        callWindow(*window, WM_DISPLAYCHANGE, 32);
    }
}

LONG dpiOfScreen() {
    const std::vector<Monitor> monitors = desktop::monitors();
    const auto primary = indexOf(primaryOf(monitors), monitors.size());
    return primary ? monitors[*primary].dpi : 96;
}

LONG dpiOfWindow(const Window& window) {
    const std::vector<Monitor> monitors = desktop::monitors();
    const auto index = indexOf(monitorAt(screenRect(window), MONITOR_DEFAULTTONEAREST), monitors.size());
    return index ? monitors[*index].dpi : 96;
}

}  // namespace platform

using namespace platform;

HMONITOR MonitorFromRect(LPCRECT rect, DWORD otherwise) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return monitorAt(*rect, otherwise);
}

HMONITOR MonitorFromWindow(HWND handle, DWORD otherwise) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window != nullptr) return monitorAt(screenRect(*window), otherwise);
    return otherwise == MONITOR_DEFAULTTONULL ? nullptr : primaryOf(desktop::monitors());
}

BOOL GetMonitorInfoW(HMONITOR handle, LPMONITORINFO info) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::vector<Monitor> monitors = desktop::monitors();
    const auto index = indexOf(handle, monitors.size());
    if (!index) return refuse(ERROR_INVALID_MONITOR_HANDLE);
    if (info->cbSize != sizeof(MONITORINFO) && info->cbSize != sizeof(MONITORINFOEXW))
        return refuse(ERROR_INVALID_PARAMETER);
    const Monitor& monitor = monitors[*index];
    info->rcMonitor = monitor.bounds;
    info->rcWork = monitor.workArea;
    info->dwFlags = monitor.isPrimary ? MONITORINFOF_PRIMARY : 0;
    if (info->cbSize == sizeof(MONITORINFO)) return TRUE;
    WCHAR* device = static_cast<MONITORINFOEXW*>(info)->szDevice;
    const std::size_t units = std::min<std::size_t>(monitor.device.size(), CCHDEVICENAME - 1);
    std::memcpy(device, monitor.device.data(), units * sizeof(WCHAR));
    device[units] = 0;
    return TRUE;
}

BOOL EnumDisplayMonitors(HDC, LPCRECT, MONITORENUMPROC callback, LPARAM parameter) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    std::vector<Monitor> monitors = desktop::monitors();
    for (std::size_t i = 0; i < monitors.size(); ++i)
        if (!callback(handleOf(i), nullptr, &monitors[i].bounds, parameter)) return FALSE;
    return TRUE;
}

int GetSystemMetrics(int index) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    const std::vector<Monitor> monitors = desktop::monitors();
    const auto primary = indexOf(primaryOf(monitors), monitors.size());
    const RECT screen = primary ? monitors[*primary].bounds : RECT{0, 0, 1024, 768};
    return index == SM_CXSCREEN ? widthOf(screen) : index == SM_CYSCREEN ? heightOf(screen) : 0;
}

namespace platform {

HRESULT WINAPI getDpiForMonitor(HMONITOR handle, MONITOR_DPI_TYPE, UINT* x, UINT* y) {
    static constinit CallSite site{"GetDpiForMonitor"};
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    const std::vector<Monitor> monitors = desktop::monitors();
    const auto index = indexOf(handle, monitors.size());
    if (!index) return E_INVALIDARG;
    *x = *y = static_cast<UINT>(monitors[*index].dpi);
    return S_OK;
}

UINT WINAPI getDpiForWindow(HWND handle) {
    static constinit CallSite site{"GetDpiForWindow"};
    if (site.fails()) return 0;
    const std::shared_ptr<Window> window = findWindow(handle);
    return window == nullptr ? 0 : static_cast<UINT>(window->dpi);
}

}  // namespace platform
