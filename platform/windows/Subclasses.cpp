// Window subclassing. The subclass set last runs first. Each one calls the one set before it, and the first one calls
// the window's own procedure.
#include <commctrl.h>

#include <utility>

#include "core/Gate.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {

struct Subclasses {
    struct Entry {
        SUBCLASSPROC procedure;
        UINT_PTR id;
        DWORD_PTR data;

        bool is(SUBCLASSPROC otherProcedure, UINT_PTR otherId) const {
            return procedure == otherProcedure && id == otherId;
        }
    };
    // A subclass that is handling a message. Meanwhile subclasses can be added and removed, and other messages can
    // arrive.
    struct Step {
        std::size_t below;  // how many entries are left to call
        Step* outer;
    };

    WNDPROC original = nullptr;
    std::vector<Entry> entries;  // in the order they were set
    Step* step = nullptr;        // the innermost step

    void remove(std::size_t index) {
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
        for (Step* each = step; each != nullptr; each = each->outer)
            if (each->below > index) --each->below;
    }
    // Passes the message to the last of the first `count` entries.
    LRESULT call(std::size_t count, HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (count == 0) return original(window, message, wParam, lParam);
        const Entry entry = entries[count - 1];
        Step mine{count - 1, step};
        step = &mine;
        const LRESULT result = entry.procedure(window, message, wParam, lParam, entry.id, entry.data);
        step = mine.outer;
        return result;
    }
};

namespace {

LRESULT CALLBACK subclassedProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr || window->subclasses == nullptr) return 0;
    const std::shared_ptr<Subclasses> subclasses = window->subclasses;
    const LRESULT result = subclasses->call(subclasses->entries.size(), handle, message, wParam, lParam);
    if (subclasses->step == nullptr && subclasses->entries.empty() && window->subclasses == subclasses) {
        window->procedure = subclasses->original;
        window->subclasses = nullptr;
    }
    return result;
}

// Null if the window does not exist or belongs to another thread.
std::shared_ptr<Window> findOwnWindow(HWND handle) {
    const std::shared_ptr<Window> window = findWindow(handle);
    return window != nullptr && window->queue == currentQueue() ? window : nullptr;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL SetWindowSubclass(HWND handle, SUBCLASSPROC procedure, UINT_PTR id, DWORD_PTR data) {
    static constinit CallSite site{__func__};
    if (site.fails() || procedure == nullptr) return FALSE;
    const std::shared_ptr<Window> window = findOwnWindow(handle);
    if (window == nullptr) return FALSE;
    if (window->subclasses == nullptr) {
        window->subclasses = std::make_shared<Subclasses>();
        window->subclasses->original = std::exchange(window->procedure, subclassedProcedure);
    }
    for (Subclasses::Entry& entry : window->subclasses->entries)
        if (entry.is(procedure, id)) {
            entry.data = data;
            return TRUE;
        }
    window->subclasses->entries.push_back({procedure, id, data});
    return TRUE;
}

BOOL RemoveWindowSubclass(HWND handle, SUBCLASSPROC procedure, UINT_PTR id) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findOwnWindow(handle);
    if (window == nullptr || window->subclasses == nullptr) return FALSE;
    const auto& entries = window->subclasses->entries;
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries[i].is(procedure, id)) {
            window->subclasses->remove(i);
            return TRUE;
        }
    return FALSE;
}

LRESULT DefSubclassProc(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::shared_ptr<Window> window = findOwnWindow(handle);
    if (window == nullptr) return 0;
    const std::shared_ptr<Subclasses> subclasses = window->subclasses;
    if (subclasses == nullptr || subclasses->step == nullptr) return DefWindowProcW(handle, message, wParam, lParam);
    return subclasses->call(subclasses->step->below, handle, message, wParam, lParam);
}
