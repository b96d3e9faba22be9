#include "testing/Desktop.h"

#include <cstdio>

#include "core/Encoding.h"
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
