// DefWindowProcW.
#include <algorithm>
#include <cstring>

#include "core/Gate.h"
#include "windows/Mouse.h"
#include "windows/Window.h"

namespace platform {
namespace {

LRESULT copyText(const std::u16string& text, std::size_t capacity, WCHAR* out) {
    if (capacity == 0) return 0;
    const std::size_t units = std::min(text.size(), capacity - 1);
    std::memcpy(out, text.data(), units * sizeof(WCHAR));
    out[units] = 0;
    return static_cast<LRESULT>(units);
}

void sayMovedAndSized(const Window& window, const WINDOWPOS& done) {
    if ((done.flags & SWP_NOMOVE) == 0) callWindow(window, WM_MOVE, 0, MAKELPARAM(done.x, done.y));
    if ((done.flags & SWP_NOSIZE) == 0) callWindow(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(done.cx, done.cy));
}

// Asks the parent first. If no window up to the root sets a cursor, sets the cursor of the window under the mouse.
bool setCursor(const Window& window, WPARAM pointed, LPARAM place) {
    if (window.parent != nullptr && SendMessageW(window.parent, WM_SETCURSOR, pointed, place) != 0) return true;
    const auto under = findWindow(reinterpret_cast<HWND>(pointed));
    if (LOWORD(place) != HTCLIENT || under == nullptr || under->kind->cursor == nullptr) return false;
    SetCursor(under->kind->cursor);
    return true;
}

}  // namespace
}  // namespace platform

using namespace platform;

LRESULT DefWindowProcW(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return 0;
    switch (message) {
        case WM_NCCREATE: {
            const LPCWSTR text = reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpszName;
            if (text != nullptr) window->text = text;
            return TRUE;
        }
        case WM_SETTEXT:
            window->text = reinterpret_cast<LPCWSTR>(lParam);
            return TRUE;
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(window->text.size());
        case WM_GETTEXT:
            return copyText(window->text, wParam, reinterpret_cast<WCHAR*>(lParam));
        case WM_SETCURSOR:
            return setCursor(*window, wParam, lParam);
        case WM_CLOSE:
            DestroyWindow(handle);
            return 0;
        case WM_PAINT:
            window->invalid = false;
            return 0;
        case WM_WINDOWPOSCHANGED:
            sayMovedAndSized(*window, *reinterpret_cast<const WINDOWPOS*>(lParam));
            return 0;
        case WM_ACTIVATE:
            if (LOWORD(wParam) != WA_INACTIVE) focusWindow(handle);
            return 0;
        case WM_QUERYENDSESSION:
        case WM_ERASEBKGND:
            return TRUE;
        case WM_MOUSEACTIVATE:
            return MA_ACTIVATE;
        case WM_NCLBUTTONDOWN:
            if (wParam == HTCAPTION || (wParam >= HTLEFT && wParam <= HTBOTTOMRIGHT))
                beginSizeMove(window, static_cast<LRESULT>(wParam));
            return 0;
        case WM_NCHITTEST:
            return HTCLIENT;
        default:
            return 0;
    }
}
