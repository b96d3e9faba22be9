// Simulates the user's input and lists the windows. Tests and socket commands call it on the thread of the windows.
#include "testing/Desktop.h"

#include <algorithm>
#include <cstdio>

#include "core/Encoding.h"
#include "windows/Mouse.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {
namespace {

std::string describe(const Window& window, int depth) {
    const RECT rect = screenRect(window);
    char head[160];
    std::snprintf(head, sizeof head, "%*s%llx %ld,%ld %ldx%ld style=%08x ex=%08x %s ", depth * 2, "",
                  static_cast<unsigned long long>(reinterpret_cast<ULONG_PTR>(window.handle)),
                  static_cast<long>(rect.left), static_cast<long>(rect.top), static_cast<long>(widthOf(rect)),
                  static_cast<long>(heightOf(rect)), window.style, window.exStyle,
                  window.messageOnly ? "message-only"
                  : window.visible   ? "shown"
                                     : "hidden");
    std::string text = head + toUtf8(window.kind->name) + " \"" + toUtf8(window.text) + "\"";
    if (window.queue->active == window.handle) text += " active";
    if (window.queue->focus == window.handle) text += " focus";
    text += "\n";
    for (const HWND child : window.children)
        if (const auto found = findWindow(child)) text += describe(*found, depth + 1);
    return text;
}

}  // namespace

bool desktop::pump() {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        if (message.message == WM_QUIT) return true;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return false;
}

void desktop::moveMouse(POINT point) {
    mouse::moveTo(point);
    pump();
}

void desktop::pressMouse() {
    mouse::press(WM_LBUTTONDOWN);
    pump();
}

void desktop::releaseMouse() {
    mouse::release();
    pump();
}

void desktop::click(POINT point) {
    moveMouse(point);
    pressMouse();
    releaseMouse();
}

void desktop::doubleClick(POINT point) {
    click(point);
    mouse::press(WM_LBUTTONDBLCLK);
    releaseMouse();
}

void desktop::drag(POINT from, POINT to, const std::function<void()>& halfway) {
    constexpr LONG kSteps = 4;
    moveMouse(from);
    mouse::whenGripped([=] {
        for (LONG step = 1; step <= kSteps; ++step) {
            moveMouse({from.x + (to.x - from.x) * step / kSteps, from.y + (to.y - from.y) * step / kSteps});
            if (step == kSteps / 2 && halfway) halfway();
        }
        releaseMouse();
    });
    pressMouse();
    if (const auto rest = mouse::whenGripped(nullptr)) rest();  // no window started a move, so make the drag here
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

HWND desktop::activeWindow() {
    return currentQueue()->active;
}

std::string desktop::describeWindows() {
    std::string text;
    for (const auto& window : topLevelWindows())
        text += describe(*window, 0);
    for (const auto& window : messageOnlyWindows())
        text += describe(*window, 0);
    return text;
}

}  // namespace platform
