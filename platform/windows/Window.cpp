#include "windows/Window.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "controls/TextControl.h"
#include "core/Gate.h"
#include "core/Ordinal.h"
#include "core/Waiting.h"
#include "testing/Desktop.h"
#include "windows/Monitors.h"
#include "windows/Queue.h"

namespace platform {
namespace {

// Shared between threads under waiting::lock().
struct Tree {
    std::unordered_map<HWND, std::shared_ptr<Window>> windows;
    std::vector<HWND> order;  // all without a parent, the uppermost first
    std::vector<std::shared_ptr<const WindowClass>> classes;
    ULONG_PTR next = 0x10010;
};

std::shared_ptr<const WindowClass> editClass() {
    return std::make_shared<WindowClass>(
        WindowClass{u"EDIT", CS_DBLCLKS, editProcedure, LoadCursorW(nullptr, IDC_IBEAM)});
}

Tree& tree() {
    static Tree& instance = *new Tree{.windows = {}, .order = {}, .classes = {editClass()}, .next = 0x10010};
    return instance;
}

bool sameName(std::u16string_view one, std::u16string_view other) {
    return equalsOrdinal(one, other);
}

std::shared_ptr<const WindowClass> findClass(std::u16string_view name) {
    std::lock_guard hold(waiting::lock());
    for (const auto& kind : tree().classes)
        if (sameName(kind->name, name)) return kind;
    return nullptr;
}

bool addClass(std::shared_ptr<const WindowClass> kind) {
    if (findClass(kind->name) != nullptr) return false;
    std::lock_guard hold(waiting::lock());
    tree().classes.push_back(std::move(kind));
    return true;
}

void enter(const std::shared_ptr<Window>& window) {
    {
        std::lock_guard hold(waiting::lock());
        window->handle = reinterpret_cast<HWND>(tree().next);
        tree().next += 2;
        tree().windows.emplace(window->handle, window);
        if (window->parent == nullptr) tree().order.push_back(window->handle);
    }
    window->queue->windows.push_back(window->handle);
    if (const auto parent = window->parent == nullptr ? nullptr : findWindow(window->parent))
        parent->children.push_back(window->handle);
}

void leave(const std::shared_ptr<Window>& window) {
    if (const auto parent = window->parent == nullptr ? nullptr : findWindow(window->parent))
        std::erase(parent->children, window->handle);
    {
        std::lock_guard hold(waiting::lock());
        tree().windows.erase(window->handle);
        std::erase(tree().order, window->handle);
    }
    forgetWindow(*window->queue, window->handle);
}

std::vector<std::shared_ptr<Window>> rootWindows(bool messageOnly) {
    std::lock_guard hold(waiting::lock());
    std::vector<std::shared_ptr<Window>> found;
    for (const HWND handle : tree().order)
        if (const auto& window = tree().windows.at(handle); window->messageOnly == messageOnly) found.push_back(window);
    return found;
}

void sayDestroyed(const std::shared_ptr<Window>& window) {
    callWindow(*window, WM_DESTROY);
    for (const HWND child : std::vector(window->children))
        if (const auto found = findWindow(child)) sayDestroyed(found);
}

void takeDown(const std::shared_ptr<Window>& window) {
    for (const HWND child : std::vector(window->children))
        if (const auto found = findWindow(child)) takeDown(found);
    callWindow(*window, WM_NCDESTROY);
    leave(window);
}

void destroy(const std::shared_ptr<Window>& window) {
    if (window->dying) return;
    window->dying = true;
    if (window->queue->active == window->handle) {
        callWindow(*window, WM_ACTIVATE, WA_INACTIVE);
        focusWindow(nullptr);
        window->queue->active = nullptr;
    }
    window->visible = false;
    sayDestroyed(window);
    takeDown(window);
}

std::shared_ptr<Window> newWindow(DWORD exStyle, std::shared_ptr<const WindowClass> kind, const CREATESTRUCTW& wanted) {
    auto window = std::make_shared<Window>();
    window->procedure = kind->procedure;
    window->kind = std::move(kind);
    window->queue = currentQueue();
    window->messageOnly = wanted.hwndParent == HWND_MESSAGE;
    window->parent = window->messageOnly ? nullptr : wanted.hwndParent;
    window->style = static_cast<DWORD>(wanted.style) & ~WS_VISIBLE;
    window->exStyle = exStyle;
    window->rect = {wanted.x, wanted.y, wanted.x + wanted.cx, wanted.y + wanted.cy};
    window->id = (window->style & WS_CHILD) != 0 ? reinterpret_cast<ULONG_PTR>(wanted.hMenu) : 0;
    return window;
}

// The messages of a window that comes to life. False when it refused.
bool bringUp(const std::shared_ptr<Window>& window, const CREATESTRUCTW& wanted) {
    if (window->parent == nullptr) raiseWindow(*window);
    window->dpi = dpiOfWindow(*window);
    const LPARAM description = reinterpret_cast<LPARAM>(&wanted);
    if (callWindow(*window, WM_NCCREATE, 0, description) == 0) return false;
    if (callWindow(*window, WM_CREATE, 0, description) == -1) return false;
    if (window->dying) return false;
    const auto packed = [](LONG low, LONG high) {
        return static_cast<LPARAM>((static_cast<DWORD>(low) & 0xffff) | (static_cast<DWORD>(high) << 16));
    };
    callWindow(*window, WM_SIZE, SIZE_RESTORED, packed(widthOf(window->rect), heightOf(window->rect)));
    callWindow(*window, WM_MOVE, 0, packed(window->rect.left, window->rect.top));
    return !window->dying;
}

void show(const std::shared_ptr<Window>& window) {
    if (window->visible) return;
    callWindow(*window, WM_SHOWWINDOW, TRUE);
    window->visible = true;
    window->style |= WS_VISIBLE;
    window->invalid = true;
    for (const HWND child : window->children)
        if (const auto found = findWindow(child)) found->invalid = true;
}

}  // namespace

std::shared_ptr<Window> findWindow(HWND handle) {
    {
        std::lock_guard hold(waiting::lock());
        const auto found = tree().windows.find(handle);
        if (found != tree().windows.end()) return found->second;
    }
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
}

std::vector<std::shared_ptr<Window>> topLevelWindows() {
    return rootWindows(false);
}

std::vector<std::shared_ptr<Window>> messageOnlyWindows() {
    return rootWindows(true);
}

RECT screenRect(const Window& window) {
    RECT rect = window.rect;
    const auto parent = window.parent == nullptr ? nullptr : findWindow(window.parent);
    if (parent == nullptr) return rect;
    const RECT origin = screenRect(*parent);
    return {rect.left + origin.left, rect.top + origin.top, rect.right + origin.left, rect.bottom + origin.top};
}

LRESULT callWindow(const Window& window, UINT message, WPARAM wParam, LPARAM lParam) {
    return window.procedure(window.handle, message, wParam, lParam);
}

void raiseWindow(const Window& window) {
    std::lock_guard hold(waiting::lock());
    std::vector<HWND>& order = tree().order;
    std::erase(order, window.handle);
    auto place = order.begin();
    if ((window.exStyle & WS_EX_TOPMOST) == 0)
        place = std::find_if(order.begin(), order.end(),
                             [](HWND other) { return (tree().windows.at(other)->exStyle & WS_EX_TOPMOST) == 0; });
    order.insert(place, window.handle);
}

void focusWindow(HWND target) {
    Queue& queue = *currentQueue();
    const HWND before = queue.focus;
    if (before == target) return;
    queue.focus = target;
    if (const auto loser = before == nullptr ? nullptr : findWindow(before))
        callWindow(*loser, WM_KILLFOCUS, reinterpret_cast<WPARAM>(target));
    if (const auto winner = target == nullptr ? nullptr : findWindow(target))
        callWindow(*winner, WM_SETFOCUS, reinterpret_cast<WPARAM>(before));
}

void activateWindow(const std::shared_ptr<Window>& window, int how) {
    Queue& queue = *currentQueue();
    const HWND before = queue.active;
    if (before == window->handle) return;
    queue.active = window->handle;
    if (const auto loser = before == nullptr ? nullptr : findWindow(before))
        callWindow(*loser, WM_ACTIVATE, WA_INACTIVE, reinterpret_cast<LPARAM>(window->handle));
    raiseWindow(*window);
    callWindow(*window, WM_ACTIVATE, static_cast<WPARAM>(how), reinterpret_cast<LPARAM>(before));
}

// Windows proposes a rectangle of the new size; here the size stays, as a note keeps its own.
void followMonitorDpi(const std::shared_ptr<Window>& window) {
    const LONG dpi = dpiOfWindow(*window);
    if (!window->isTopLevel() || dpi == window->dpi) return;
    const LONG before = window->dpi;
    window->dpi = dpi;
    const auto scaled = [&](LONG length) { return static_cast<LONG>((length * static_cast<LONGLONG>(dpi)) / before); };
    RECT proposed = window->rect;
    proposed.right = proposed.left + scaled(widthOf(window->rect));
    proposed.bottom = proposed.top + scaled(heightOf(window->rect));
    const WPARAM both = static_cast<WPARAM>(dpi) | (static_cast<WPARAM>(dpi) << 16);
    callWindow(*window, WM_DPICHANGED, both, reinterpret_cast<LPARAM>(&proposed));
}

void registerControlClass(const char16_t* name, UINT style, WNDPROC procedure) {
    addClass(std::make_shared<WindowClass>(WindowClass{name, style, procedure, LoadCursorW(nullptr, IDC_IBEAM)}));
}

}  // namespace platform

using namespace platform;

ATOM RegisterClassExW(const WNDCLASSEXW* description) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (description->cbSize != sizeof *description || description->lpfnWndProc == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const bool added = addClass(std::make_shared<WindowClass>(
        WindowClass{description->lpszClassName, description->style, description->lpfnWndProc, description->hCursor}));
    if (!added) SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return added ? ATOM{0xC000} : ATOM{0};
}

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR text, DWORD style, int x, int y, int width, int height,
                     HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    std::shared_ptr<const WindowClass> kind = findClass(className);
    if (kind == nullptr) {
        SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
        return nullptr;
    }
    if ((style & WS_CHILD) != 0 && parent == nullptr) {
        SetLastError(ERROR_TLW_WITH_WSCHILD);
        return nullptr;
    }
    if (parent != nullptr && parent != HWND_MESSAGE && findWindow(parent) == nullptr) return nullptr;
    const CREATESTRUCTW wanted = {parameter, instance,  menu,   parent, height, width, y, x, static_cast<LONG>(style),
                                  text,      className, exStyle};
    const std::shared_ptr<Window> window = newWindow(exStyle, std::move(kind), wanted);
    enter(window);
    if (!bringUp(window, wanted)) {
        destroy(window);
        return nullptr;
    }
    if ((style & WS_VISIBLE) != 0) {
        show(window);
        if (window->isTopLevel()) activateWindow(window, WA_ACTIVE);
    }
    if (window->parent == nullptr) desktop::serveFromOutside();
    return window->handle;
}

BOOL DestroyWindow(HWND handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    if (window->queue != currentQueue()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    destroy(window);
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
    show(window);
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
    if ((wanted.flags & SWP_SHOWWINDOW) != 0) show(window);
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
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
    }
}

LONG_PTR SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return 0;
    if (index != GWLP_USERDATA) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return std::exchange(window->userData, value);
}

HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    std::lock_guard hold(waiting::lock());
    const std::vector<HWND>& order = tree().order;
    auto at = order.begin();
    if (after != nullptr) {
        at = std::find(order.begin(), order.end(), after);
        if (at != order.end()) ++at;
    }
    const auto found = std::find_if(at, order.end(), [&](HWND handle) {
        const Window& window = *tree().windows.at(handle);
        return window.messageOnly == (parent == HWND_MESSAGE) && sameName(window.kind->name, className);
    });
    return found == order.end() ? nullptr : *found;
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
    return reinterpret_cast<HCURSOR>(const_cast<LPWSTR>(name));  // a cursor is known by its number
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
