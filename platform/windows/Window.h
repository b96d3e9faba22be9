// Windows of this process: the tree, the classes, and what a window is.
//
// A window belongs to the thread that made it; only that thread looks inside or calls its procedure. Other threads
// may post to it, for which the table of handles is shared. A handle is never used again after its window is gone.
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

// What the procedure of a control class keeps for one window.
struct ControlState {
    ControlState() = default;
    ControlState(const ControlState&) = delete;
    ControlState& operator=(const ControlState&) = delete;
    virtual ~ControlState() = default;
};

// The procedures that stand before a window's own; see Subclasses.cpp.
struct Subclasses;

struct Window {
    HWND handle = nullptr;
    std::shared_ptr<const WindowClass> kind;
    WNDPROC procedure = nullptr;
    std::shared_ptr<Queue> queue;  // of the thread that it belongs to

    HWND parent = nullptr;  // null: a top-level or message-only window
    bool messageOnly = false;
    std::vector<HWND> children;  // in the order they were made

    DWORD style = 0;
    DWORD exStyle = 0;
    RECT rect = {};  // in the parent's coordinates, or the screen's; there is no frame, so all of it is client area
    ULONG_PTR id = 0;
    LONG_PTR userData = 0;
    std::u16string text;
    LONG dpi = 96;
    bool visible = false;
    bool invalid = false;  // waits for WM_PAINT
    bool dying = false;
    std::shared_ptr<Surface> surface;  // what it has painted; null before the first time
    std::unique_ptr<ControlState> control;
    std::shared_ptr<Subclasses> subclasses;

    bool isTopLevel() const { return parent == nullptr && !messageOnly; }
};

// Null, with ERROR_INVALID_WINDOW_HANDLE, when there is no such window.
std::shared_ptr<Window> findWindow(HWND handle);
// The top-level windows, the uppermost first.
std::vector<std::shared_ptr<Window>> topLevelWindows();
std::vector<std::shared_ptr<Window>> messageOnlyWindows();
// Where the window is on the screen.
RECT screenRect(const Window& window);
// Runs the window's procedure on this thread.
LRESULT callWindow(const Window& window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
// Puts the window above the others of its kind; top-most windows stay above the rest.
void raiseWindow(const Window& window);
// Makes the window active, with the messages that go with it.
void activateWindow(const std::shared_ptr<Window>& window, int how);
void focusWindow(HWND window);
// Tells a window whose monitor has another DPI than before.
void followMonitorDpi(const std::shared_ptr<Window>& window);
// Registers a class of the system's own.
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
