// The window tree: classes, and how windows are created, shown, activated and destroyed. The functions in this folder
// call it on the thread of the window. Threads share the handle table under waiting::lock().
#include "windows/Tree.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "core/Error.h"
#include "core/Ordinal.h"
#include "core/Waiting.h"
#include "windows/Monitors.h"
#include "windows/Queue.h"

namespace platform {
namespace {

// Shared by the threads, guarded by waiting::lock().
struct Tree {
    std::unordered_map<HWND, std::shared_ptr<Window>> windows;
    std::vector<HWND> order;  // all windows without a parent, topmost first
    std::vector<std::shared_ptr<const WindowClass>> classes;
    ULONG_PTR next = 0x10010;
};

Tree& tree() {
    static Tree& instance = *new Tree;
    return instance;
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

std::shared_ptr<Window> newWindow(std::shared_ptr<const WindowClass> kind, const CREATESTRUCTW& wanted) {
    auto window = std::make_shared<Window>();
    window->procedure = kind->procedure;
    window->kind = std::move(kind);
    window->queue = currentQueue();
    window->messageOnly = wanted.hwndParent == HWND_MESSAGE;
    window->parent = window->messageOnly ? nullptr : wanted.hwndParent;
    window->style = static_cast<DWORD>(wanted.style) & ~WS_VISIBLE;
    window->exStyle = wanted.dwExStyle;
    window->rect = {wanted.x, wanted.y, wanted.x + wanted.cx, wanted.y + wanted.cy};
    window->id = (window->style & WS_CHILD) != 0 ? reinterpret_cast<ULONG_PTR>(wanted.hMenu) : 0;
    return window;
}

// Sends the messages of window creation. False if the window refused it.
bool bringUp(const std::shared_ptr<Window>& window, const CREATESTRUCTW& wanted) {
    if (window->parent == nullptr) raiseWindow(*window);
    window->dpi = dpiOfWindow(*window);
    const LPARAM description = reinterpret_cast<LPARAM>(&wanted);
    if (callWindow(*window, WM_NCCREATE, 0, description) == 0) return false;
    if (callWindow(*window, WM_CREATE, 0, description) == -1) return false;
    if (window->dying) return false;
    callWindow(*window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(widthOf(window->rect), heightOf(window->rect)));
    callWindow(*window, WM_MOVE, 0, MAKELPARAM(window->rect.left, window->rect.top));
    return !window->dying;
}

}  // namespace

std::shared_ptr<const WindowClass> findClass(std::u16string_view name) {
    std::lock_guard hold(waiting::lock());
    for (const auto& kind : tree().classes)
        if (equalsOrdinal(kind->name, name)) return kind;
    return nullptr;
}

bool addClass(WindowClass kind) {
    if (findClass(kind.name) != nullptr) return false;
    std::lock_guard hold(waiting::lock());
    tree().classes.push_back(std::make_shared<WindowClass>(std::move(kind)));
    return true;
}

std::shared_ptr<Window> createWindow(std::shared_ptr<const WindowClass> kind, const CREATESTRUCTW& wanted) {
    const std::shared_ptr<Window> window = newWindow(std::move(kind), wanted);
    enter(window);
    if (bringUp(window, wanted)) return window;
    destroyWindow(window);
    return nullptr;
}

void destroyWindow(const std::shared_ptr<Window>& window) {
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

void showWindow(const std::shared_ptr<Window>& window) {
    if (window->visible) return;
    callWindow(*window, WM_SHOWWINDOW, TRUE);
    window->visible = true;
    window->style |= WS_VISIBLE;
    window->invalid = true;
    for (const HWND child : window->children)
        if (const auto found = findWindow(child)) found->invalid = true;
}

HWND nextWindow(HWND after, bool messageOnly, std::u16string_view className) {
    std::lock_guard hold(waiting::lock());
    const std::vector<HWND>& order = tree().order;
    auto at = order.begin();
    if (after != nullptr) {
        at = std::find(order.begin(), order.end(), after);
        if (at != order.end()) ++at;
    }
    const auto found = std::find_if(at, order.end(), [&](HWND handle) {
        const Window& window = *tree().windows.at(handle);
        return window.messageOnly == messageOnly && equalsOrdinal(window.kind->name, className);
    });
    return found == order.end() ? nullptr : *found;
}

std::shared_ptr<Window> findWindow(HWND handle) {
    {
        std::lock_guard hold(waiting::lock());
        const auto found = tree().windows.find(handle);
        if (found != tree().windows.end()) return found->second;
    }
    return refuse(ERROR_INVALID_WINDOW_HANDLE);
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

// Proposes a scaled rectangle, as Windows does. The size does not change by itself; a note keeps its size.
void followMonitorDpi(const std::shared_ptr<Window>& window) {
    const LONG dpi = dpiOfWindow(*window);
    if (!window->isTopLevel() || dpi == window->dpi) return;
    const LONG before = window->dpi;
    window->dpi = dpi;
    const auto scaled = [&](LONG length) { return static_cast<LONG>((length * static_cast<LONGLONG>(dpi)) / before); };
    RECT proposed = window->rect;
    proposed.right = proposed.left + scaled(widthOf(window->rect));
    proposed.bottom = proposed.top + scaled(heightOf(window->rect));
    callWindow(*window, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&proposed));
}

void registerControlClass(const char16_t* name, UINT style, WNDPROC procedure) {
    addClass({name, style, procedure, reinterpret_cast<HCURSOR>(IDC_IBEAM)});
}

}  // namespace platform
