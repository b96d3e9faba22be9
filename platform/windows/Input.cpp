// The mouse and the keyboard, and what they do to windows.
#include <algorithm>
#include <utility>

#include "core/Gate.h"
#include "testing/Desktop.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {
namespace {

// One pointer for the desktop; it acts on the thread of the windows.
struct Pointer {
    POINT at = {-1, -1};
    HWND tracked = nullptr;  // wants to hear when the mouse leaves its outer zones
    HWND moving = nullptr;   // is being moved or sized
    LRESULT zone = HTNOWHERE;
    POINT grip = {};
    RECT start = {};
    HWND pressed = nullptr;
    std::function<void()> rest;  // of a drag: what the hand does after the press
};

Pointer& pointer() {
    static Pointer& instance = *new Pointer;
    return instance;
}

LPARAM packed(POINT point) {
    return static_cast<LPARAM>((static_cast<DWORD>(point.x) & 0xffff) | (static_cast<DWORD>(point.y) << 16));
}

std::shared_ptr<Window> rootOf(std::shared_ptr<Window> window) {
    while (window != nullptr && window->parent != nullptr)
        window = findWindow(window->parent);
    return window;
}

// The window that the mouse is over: the deepest one.
std::shared_ptr<Window> windowAt(POINT point) {
    for (const auto& window : topLevelWindows()) {
        if (!window->visible || !containsPoint(screenRect(*window), point)) continue;
        for (const HWND handle : window->children)
            if (const auto child = findWindow(handle);
                child != nullptr && child->visible && containsPoint(screenRect(*child), point))
                return child;
        return window;
    }
    return nullptr;
}

POINT inside(const Window& window, POINT point) {
    const RECT rect = screenRect(window);
    return {point.x - rect.left, point.y - rect.top};
}

LRESULT zoneOf(const Window& window, POINT point) {
    return window.parent != nullptr ? HTCLIENT : callWindow(window, WM_NCHITTEST, 0, packed(point));
}

// The edges that a zone moves.
RECT stretched(RECT rect, LRESULT zone, LONG x, LONG y, POINT least) {
    const bool left = zone == HTLEFT || zone == HTTOPLEFT || zone == HTBOTTOMLEFT;
    const bool right = zone == HTRIGHT || zone == HTTOPRIGHT || zone == HTBOTTOMRIGHT;
    const bool top = zone == HTTOP || zone == HTTOPLEFT || zone == HTTOPRIGHT;
    const bool bottom = zone == HTBOTTOM || zone == HTBOTTOMLEFT || zone == HTBOTTOMRIGHT;
    if (left) rect.left = std::min(rect.left + x, rect.right - least.x);
    if (right) rect.right = std::max(rect.right + x, rect.left + least.x);
    if (top) rect.top = std::min(rect.top + y, rect.bottom - least.y);
    if (bottom) rect.bottom = std::max(rect.bottom + y, rect.top + least.y);
    return rect;
}

void followDrag(Pointer& mouse) {
    const auto window = findWindow(mouse.moving);
    if (window == nullptr) return;
    const LONG x = mouse.at.x - mouse.grip.x, y = mouse.at.y - mouse.grip.y;
    RECT rect = {mouse.start.left + x, mouse.start.top + y, mouse.start.right + x, mouse.start.bottom + y};
    if (mouse.zone != HTCAPTION) {
        MINMAXINFO limits = {};
        callWindow(*window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
        rect = stretched(mouse.start, mouse.zone, x, y, limits.ptMinTrackSize);
    }
    SetWindowPos(mouse.moving, nullptr, rect.left, rect.top, widthOf(rect), heightOf(rect),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void sayLeft(Pointer& mouse) {
    const HWND window = std::exchange(mouse.tracked, nullptr);
    if (const auto found = window == nullptr ? nullptr : findWindow(window)) callWindow(*found, WM_NCMOUSELEAVE);
}

void hover(Pointer& mouse) {
    const auto window = windowAt(mouse.at);
    if (window == nullptr) return sayLeft(mouse);
    const LRESULT zone = zoneOf(*window, mouse.at);
    if (mouse.tracked != nullptr && (zone == HTCLIENT || mouse.tracked != window->handle)) sayLeft(mouse);
    callWindow(*window, WM_SETCURSOR, reinterpret_cast<WPARAM>(window->handle), zone | (WM_MOUSEMOVE << 16));
    if (zone == HTCLIENT)
        callWindow(*window, WM_MOUSEMOVE, 0, packed(inside(*window, mouse.at)));
    else
        callWindow(*window, WM_NCMOUSEMOVE, static_cast<WPARAM>(zone), packed(mouse.at));
}

void press(UINT clientMessage) {
    Pointer& mouse = pointer();
    const auto window = windowAt(mouse.at);
    if (window == nullptr) return;
    const auto root = rootOf(window);
    const LRESULT zone = zoneOf(*window, mouse.at);
    if (callWindow(*window, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(root->handle), zone) == MA_ACTIVATE)
        activateWindow(root, WA_CLICKACTIVE);
    mouse.pressed = window->handle;
    if (zone == HTCLIENT)
        callWindow(*window, clientMessage, 1, packed(inside(*window, mouse.at)));
    else
        callWindow(*window, WM_NCLBUTTONDOWN, static_cast<WPARAM>(zone), packed(mouse.at));
}

}  // namespace

// Begun by the default procedure for a press on a caption or an edge. Of a whole drag it returns at the end, and the
// window may be gone by then.
void beginSizeMove(const std::shared_ptr<Window>& window, LRESULT zone) {
    Pointer& mouse = pointer();
    mouse.moving = window->handle;
    mouse.zone = zone;
    mouse.grip = mouse.at;
    mouse.start = window->rect;
    callWindow(*window, WM_ENTERSIZEMOVE);
    if (const auto rest = std::exchange(mouse.rest, nullptr)) rest();
}

void desktop::moveMouse(POINT point) {
    Pointer& mouse = pointer();
    mouse.at = point;
    if (mouse.moving != nullptr)
        followDrag(mouse);
    else
        hover(mouse);
    pump();
}

void desktop::pressMouse() {
    press(WM_LBUTTONDOWN);
    pump();
}

void desktop::releaseMouse() {
    Pointer& mouse = pointer();
    mouse.pressed = nullptr;
    if (const HWND moved = std::exchange(mouse.moving, nullptr)) {
        if (const auto window = findWindow(moved)) callWindow(*window, WM_EXITSIZEMOVE);
    } else if (const auto window = windowAt(mouse.at)) {
        const LRESULT zone = zoneOf(*window, mouse.at);
        if (zone == HTCLIENT)
            callWindow(*window, WM_LBUTTONUP, 0, packed(inside(*window, mouse.at)));
        else
            callWindow(*window, WM_NCLBUTTONUP, static_cast<WPARAM>(zone), packed(mouse.at));
    }
    pump();
}

void desktop::click(POINT point) {
    moveMouse(point);
    pressMouse();
    releaseMouse();
}

void desktop::doubleClick(POINT point) {
    click(point);
    press(WM_LBUTTONDBLCLK);
    releaseMouse();
}

void desktop::drag(POINT from, POINT to, const std::function<void()>& halfway) {
    constexpr LONG kSteps = 4;
    moveMouse(from);
    pointer().rest = [=] {
        for (LONG step = 1; step <= kSteps; ++step) {
            moveMouse({from.x + (to.x - from.x) * step / kSteps, from.y + (to.y - from.y) * step / kSteps});
            if (step == kSteps / 2 && halfway) halfway();
        }
        releaseMouse();
    };
    pressMouse();
    if (const auto rest = std::exchange(pointer().rest, nullptr)) rest();  // no window took it up
}

void desktop::typeText(std::u16string_view text) {
    for (const char16_t unit : text) {
        const HWND focus = currentQueue()->focus;
        if (focus != nullptr) PostMessageW(focus, WM_CHAR, unit, 1);
        pump();
    }
}

HCURSOR desktop::shownCursor() {
    const HCURSOR shown = SetCursor(nullptr);
    SetCursor(shown);
    return shown;
}

void desktop::endSession(LPARAM reason) {
    const auto windows = topLevelWindows();
    const bool isEnding = std::ranges::all_of(
        windows, [&](const auto& window) { return callWindow(*window, WM_QUERYENDSESSION, 0, reason) != 0; });
    for (const auto& window : windows)
        callWindow(*window, WM_ENDSESSION, isEnding, reason);
}

void desktop::closeForInstaller() {
    endSession(ENDSESSION_CLOSEAPP);
    for (const auto& window : topLevelWindows())
        post(*window->queue, {window->handle, WM_CLOSE, 0, 0, 0, {}});
}

}  // namespace platform

using namespace platform;

BOOL TrackMouseEvent(TRACKMOUSEEVENT* track) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    pointer().tracked = track->hwndTrack;
    return TRUE;
}

BOOL ReleaseCapture() {
    static constinit CallSite site{__func__};
    return !site.fails();
}

BOOL GetClientRect(HWND handle, LPRECT rect) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    *rect = {0, 0, widthOf(window->rect), heightOf(window->rect)};
    return TRUE;
}

BOOL ScreenToClient(HWND handle, LPPOINT point) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    *point = inside(*window, *point);
    return TRUE;
}
