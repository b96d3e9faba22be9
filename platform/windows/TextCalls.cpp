// Functions for window text, and the cursor.
#include <utility>

#include "core/Gate.h"
#include "windows/Window.h"

using namespace platform;

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    static constinit CallSite site{__func__};
    if (site.fails() || findWindow(window) == nullptr) return FALSE;
    return SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0;
}

int GetWindowTextW(HWND window, LPWSTR text, int capacity) {
    static constinit CallSite site{__func__};
    if (capacity <= 0) return 0;
    *text = 0;
    if (site.fails() || findWindow(window) == nullptr) return 0;
    const LRESULT units =
        SendMessageW(window, WM_GETTEXT, static_cast<WPARAM>(capacity), reinterpret_cast<LPARAM>(text));
    return static_cast<int>(units);
}

int GetWindowTextLengthW(HWND window) {
    static constinit CallSite site{__func__};
    if (site.fails() || findWindow(window) == nullptr) return 0;
    return static_cast<int>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0));
}

HCURSOR SetCursor(HCURSOR cursor) {
    static constinit CallSite site{__func__};
    site.pass();
    thread_local HCURSOR shown = nullptr;
    return std::exchange(shown, cursor);
}
