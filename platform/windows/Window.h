// The windows of this process: the tree, the classes, and the state of a window.
//
// A window belongs to the thread that created it. Only that thread accesses it or calls its procedure. Other threads
// may post to it, so the handle table is shared. Handle values are never reused.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace platform {

struct Queue;
struct Surface;

struct WindowClass {
    std::u16string name;
    UINT style = 0;
    WNDPROC procedure = nullptr;
    HCURSOR cursor = nullptr;
};

// The state that a control class keeps for one window.
struct ControlState {
    ControlState() = default;
    ControlState(const ControlState&) = delete;
    ControlState& operator=(const ControlState&) = delete;
    virtual ~ControlState() = default;
};

// The subclass procedures of a window; see Subclasses.cpp.
struct Subclasses;

struct Window {
    HWND handle = nullptr;
    std::shared_ptr<const WindowClass> kind;
    WNDPROC procedure = nullptr;
    std::shared_ptr<Queue> queue;  // the queue of its thread

    HWND parent = nullptr;  // null: top-level or message-only
    bool messageOnly = false;
    std::vector<HWND> children;  // in creation order

    DWORD style = 0;
    DWORD exStyle = 0;
    RECT rect = {};  // in coordinates of the parent or screen; the client area covers all of it
    ULONG_PTR id = 0;
    LONG_PTR userData = 0;
    std::u16string text;
    LONG dpi = 96;
    bool visible = false;
    bool invalid = false;  // waits for WM_PAINT
    bool dying = false;
    std::shared_ptr<Surface> surface;  // the last painting; null before the first
    std::unique_ptr<ControlState> control;
    std::shared_ptr<Subclasses> subclasses;

    bool isTopLevel() const { return parent == nullptr && !messageOnly; }
};

// Null, with ERROR_INVALID_WINDOW_HANDLE, if the window does not exist.
std::shared_ptr<Window> findWindow(HWND handle);
// The top-level windows, topmost first.
std::vector<std::shared_ptr<Window>> topLevelWindows();
std::vector<std::shared_ptr<Window>> messageOnlyWindows();
// The window's rectangle on the screen.
RECT screenRect(const Window& window);
// Calls the window procedure on this thread.
LRESULT callWindow(const Window& window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
// Brings the window to the top of its z-order group: topmost windows stay above all others.
void raiseWindow(const Window& window);
// Activates the window and sends the related messages.
void activateWindow(const std::shared_ptr<Window>& window, int how);
void focusWindow(HWND window);
// Sends WM_DPICHANGED if the window's monitor has a new DPI.
void followMonitorDpi(const std::shared_ptr<Window>& window);
// Registers a system class.
void registerControlClass(const char16_t* name, UINT style, WNDPROC procedure);

inline LONG widthOf(const RECT& rect) {
    return rect.right - rect.left;
}
inline LONG heightOf(const RECT& rect) {
    return rect.bottom - rect.top;
}
inline bool containsPoint(const RECT& rect, POINT point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
}

}  // namespace platform
