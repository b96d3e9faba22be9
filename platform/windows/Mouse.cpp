// Delivers mouse input to windows: hit tests, activation, moving and sizing. testing/Desktop.cpp calls it on the thread
// of the windows.
#include "windows/Mouse.h"

#include <algorithm>
#include <utility>

#include "core/Gate.h"
#include "windows/Window.h"

namespace platform {
namespace {

// The mouse pointer. There is one for the desktop, used on the thread of the windows.
struct Pointer {
    POINT at = {-1, -1};
    HWND tracked = nullptr;  // gets WM_NCMOUSELEAVE when the mouse leaves
    HWND moving = nullptr;   // the window being moved or sized
    LRESULT zone = HTNOWHERE;
    POINT grip = {};
    RECT start = {};
    std::function<void()> rest;  // the rest of a drag, to run after the press
};

Pointer& pointer() {
    static Pointer& instance = *new Pointer;
    return instance;
}

LPARAM placeOf(POINT point) {
    return MAKELPARAM(point.x, point.y);
}

std::shared_ptr<Window> rootOf(std::shared_ptr<Window> window) {
    while (window != nullptr && window->parent != nullptr)
        window = findWindow(window->parent);
    return window;
}

// The deepest window under the mouse.
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
    return window.parent != nullptr ? HTCLIENT : callWindow(window, WM_NCHITTEST, 0, placeOf(point));
}

// Moves the edges that belong to a hit-test zone.
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

void followDrag(Pointer& hand) {
    const auto window = findWindow(hand.moving);
    if (window == nullptr) return;
    const LONG x = hand.at.x - hand.grip.x, y = hand.at.y - hand.grip.y;
    RECT rect = {hand.start.left + x, hand.start.top + y, hand.start.right + x, hand.start.bottom + y};
    if (hand.zone != HTCAPTION) {
        MINMAXINFO limits = {};
        callWindow(*window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
        rect = stretched(hand.start, hand.zone, x, y, limits.ptMinTrackSize);
    }
    SetWindowPos(hand.moving, nullptr, rect.left, rect.top, widthOf(rect), heightOf(rect),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void sayLeft(Pointer& hand) {
    const HWND window = std::exchange(hand.tracked, nullptr);
    if (const auto found = window == nullptr ? nullptr : findWindow(window)) callWindow(*found, WM_NCMOUSELEAVE);
}

void hover(Pointer& hand) {
    const auto window = windowAt(hand.at);
    if (window == nullptr) return sayLeft(hand);
    const LRESULT zone = zoneOf(*window, hand.at);
    if (hand.tracked != nullptr && (zone == HTCLIENT || hand.tracked != window->handle)) sayLeft(hand);
    callWindow(*window, WM_SETCURSOR, reinterpret_cast<WPARAM>(window->handle), zone | (WM_MOUSEMOVE << 16));
    if (zone == HTCLIENT)
        callWindow(*window, WM_MOUSEMOVE, 0, placeOf(inside(*window, hand.at)));
    else
        callWindow(*window, WM_NCMOUSEMOVE, static_cast<WPARAM>(zone), placeOf(hand.at));
}

}  // namespace

void beginSizeMove(const std::shared_ptr<Window>& window, LRESULT zone) {
    Pointer& hand = pointer();
    hand.moving = window->handle;
    hand.zone = zone;
    hand.grip = hand.at;
    hand.start = window->rect;
    callWindow(*window, WM_ENTERSIZEMOVE);
    if (const auto rest = std::exchange(hand.rest, nullptr)) rest();
}

void mouse::moveTo(POINT point) {
    Pointer& hand = pointer();
    hand.at = point;
    if (hand.moving != nullptr)
        followDrag(hand);
    else
        hover(hand);
}

void mouse::press(UINT clientMessage) {
    Pointer& hand = pointer();
    const auto window = windowAt(hand.at);
    if (window == nullptr) return;
    const auto root = rootOf(window);
    const LRESULT zone = zoneOf(*window, hand.at);
    if (callWindow(*window, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(root->handle), zone) == MA_ACTIVATE)
        activateWindow(root, WA_CLICKACTIVE);
    if (zone == HTCLIENT)
        callWindow(*window, clientMessage, 1, placeOf(inside(*window, hand.at)));
    else
        callWindow(*window, WM_NCLBUTTONDOWN, static_cast<WPARAM>(zone), placeOf(hand.at));
}

void mouse::release() {
    Pointer& hand = pointer();
    if (const HWND moved = std::exchange(hand.moving, nullptr)) {
        if (const auto window = findWindow(moved)) callWindow(*window, WM_EXITSIZEMOVE);
    } else if (const auto window = windowAt(hand.at)) {
        const LRESULT zone = zoneOf(*window, hand.at);
        if (zone == HTCLIENT)
            callWindow(*window, WM_LBUTTONUP, 0, placeOf(inside(*window, hand.at)));
        else
            callWindow(*window, WM_NCLBUTTONUP, static_cast<WPARAM>(zone), placeOf(hand.at));
    }
}

std::function<void()> mouse::whenGripped(std::function<void()> rest) {
    return std::exchange(pointer().rest, std::move(rest));
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
