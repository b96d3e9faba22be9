// The functions that create, place, show and query windows, and send messages.
#include <algorithm>
#include <utility>

#include "core/Error.h"
#include "core/Gate.h"
#include "core/Waiting.h"
#include "windows/Monitors.h"
#include "windows/Queue.h"
#include "windows/Remote.h"
#include "windows/Tree.h"

using namespace platform;

ATOM RegisterClassExW(const WNDCLASSEXW* description) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (description->cbSize != sizeof *description || description->lpfnWndProc == nullptr)
        return refuse(ERROR_INVALID_PARAMETER);
    const bool added =
        addClass({description->lpszClassName, description->style, description->lpfnWndProc, description->hCursor});
    return added ? ATOM{0xC000} : refuse(ERROR_CLASS_ALREADY_EXISTS, ATOM{0});
}

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR text, DWORD style, int x, int y, int width, int height,
                     HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    std::shared_ptr<const WindowClass> kind = findClass(className);
    if (kind == nullptr) return refuse(ERROR_CANNOT_FIND_WND_CLASS);
    if ((style & WS_CHILD) != 0 && parent == nullptr) return refuse(ERROR_TLW_WITH_WSCHILD);
    if (parent != nullptr && parent != HWND_MESSAGE && findWindow(parent) == nullptr) return nullptr;
    const CREATESTRUCTW wanted = {parameter, instance,  menu,   parent, height, width, y, x, static_cast<LONG>(style),
                                  text,      className, exStyle};
    const std::shared_ptr<Window> window = createWindow(std::move(kind), wanted);
    if (window == nullptr) return nullptr;
    if ((style & WS_VISIBLE) != 0) {
        showWindow(window);
        if (window->isTopLevel()) activateWindow(window, WA_ACTIVE);
    }
    if (window->parent == nullptr) remote::listen();
    return window->handle;
}

BOOL DestroyWindow(HWND handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    if (window->queue != currentQueue()) return refuse(ERROR_ACCESS_DENIED);
    destroyWindow(window);
    return TRUE;
}

BOOL IsWindow(HWND handle) {
    static constinit CallSite site{__func__};
    site.pass();
    return findWindow(handle) != nullptr;
}

BOOL ShowWindow(HWND handle, int) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    const bool before = window->visible;
    showWindow(window);
    return before;
}

BOOL UpdateWindow(HWND handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    if (window->visible && window->invalid) callWindow(*window, WM_PAINT);
    for (const HWND child : std::vector(window->children))
        if (const auto found = findWindow(child); found != nullptr && found->visible && found->invalid)
            callWindow(*found, WM_PAINT);
    return TRUE;
}

BOOL SetWindowPos(HWND handle, HWND insertAfter, int x, int y, int width, int height, UINT flags) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    if ((flags & SWP_NOMOVE) != 0) x = window->rect.left, y = window->rect.top;
    if ((flags & SWP_NOSIZE) != 0) width = widthOf(window->rect), height = heightOf(window->rect);
    WINDOWPOS wanted = {handle, insertAfter, x, y, std::max(width, 0), std::max(height, 0), flags};
    callWindow(*window, WM_WINDOWPOSCHANGING, 0, reinterpret_cast<LPARAM>(&wanted));
    const RECT rect = {wanted.x, wanted.y, wanted.x + wanted.cx, wanted.y + wanted.cy};
    if (widthOf(rect) != widthOf(window->rect) || heightOf(rect) != heightOf(window->rect)) window->invalid = true;
    const RECT before = window->rect;
    window->rect = rect;
    if ((wanted.flags & SWP_NOZORDER) == 0 && window->isTopLevel()) {
        if (wanted.hwndInsertAfter == HWND_TOPMOST) window->exStyle |= WS_EX_TOPMOST;
        raiseWindow(*window);
    }
    if ((wanted.flags & SWP_SHOWWINDOW) != 0) showWindow(window);
    if ((wanted.flags & SWP_NOACTIVATE) == 0 && window->isTopLevel() && window->visible)
        activateWindow(window, WA_ACTIVE);
    if (before.left == rect.left && before.top == rect.top) wanted.flags |= SWP_NOMOVE;
    if (widthOf(before) == wanted.cx && heightOf(before) == wanted.cy) wanted.flags |= SWP_NOSIZE;
    callWindow(*window, WM_WINDOWPOSCHANGED, 0, reinterpret_cast<LPARAM>(&wanted));
    followMonitorDpi(window);
    return TRUE;
}

BOOL GetWindowRect(HWND handle, LPRECT rect) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    *rect = screenRect(*window);
    return TRUE;
}

LONG GetWindowLongW(HWND handle, int index) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    return static_cast<LONG>(GetWindowLongPtrW(handle, index));
}

LONG_PTR GetWindowLongPtrW(HWND handle, int index) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return 0;
    switch (index) {
        case GWLP_USERDATA:
            return window->userData;
        case GWL_STYLE:
            return static_cast<LONG_PTR>(window->style);
        case GWL_EXSTYLE:
            return static_cast<LONG_PTR>(window->exStyle);
        default:
            return refuse(ERROR_INVALID_PARAMETER);
    }
}

LONG_PTR SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return 0;
    if (index != GWLP_USERDATA) return refuse(ERROR_INVALID_PARAMETER);
    return std::exchange(window->userData, value);
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
    const RECT rect = screenRect(*window);
    *point = {point->x - rect.left, point->y - rect.top};
    return TRUE;
}

HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return nextWindow(after, parent == HWND_MESSAGE, className);
}

HWND GetParent(HWND handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::shared_ptr<Window> window = findWindow(handle);
    return window == nullptr ? nullptr : window->parent;
}

HCURSOR LoadCursorW(HINSTANCE, LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return reinterpret_cast<HCURSOR>(const_cast<LPWSTR>(name));  // a cursor handle is its resource number
}

LRESULT SendMessageW(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return 0;
    if (window->queue == currentQueue()) return callWindow(*window, message, wParam, lParam);
    LRESULT result = 0;
    bool done = false;
    request(*window->queue, [&] {
        const LRESULT answer = callWindow(*window, message, wParam, lParam);
        std::lock_guard hold(waiting::lock());
        result = answer;
        done = true;
        waiting::wake();
    });
    std::unique_lock held(waiting::lock());
    waiting::sleepUntil(held, waiting::kNever, [&] { return done; });
    return result;
}
