// The table of open handles, and CloseHandle. The rest of the stand-in opens and looks up objects here, on any thread.
// The table has its own lock.
#include "core/HandleTable.h"

#include <winbase.h>

#include <mutex>
#include <unordered_map>

#include "core/Counts.h"
#include "core/Gate.h"

namespace platform {
namespace {

struct Table {
    std::mutex lock;
    std::unordered_map<ULONG_PTR, std::shared_ptr<Object>> objects;
    ULONG_PTR next = 0x100;  // only grows: no handle value is used twice
};

Table& table() {
    static Table& instance = *new Table;
    return instance;
}

}  // namespace

HANDLE openHandle(std::shared_ptr<Object> object) {
    std::lock_guard hold(table().lock);
    const ULONG_PTR value = table().next;
    table().next += 4;
    table().objects.emplace(value, std::move(object));
    countOpened(Open::Handles);
    return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<Object> findObject(HANDLE handle) {
    std::lock_guard hold(table().lock);
    const auto found = table().objects.find(reinterpret_cast<ULONG_PTR>(handle));
    return found == table().objects.end() ? nullptr : found->second;
}

bool closeHandle(HANDLE handle) {
    std::shared_ptr<Object> dying;  // destroyed after the lock is released
    std::lock_guard hold(table().lock);
    const auto found = table().objects.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found == table().objects.end()) return false;
    dying = std::move(found->second);
    table().objects.erase(found);
    countClosed(Open::Handles);
    return true;
}

}  // namespace platform

using namespace platform;

BOOL CloseHandle(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (std::dynamic_pointer_cast<KeyBase>(findObject(handle)) != nullptr) return refuse(ERROR_INVALID_HANDLE);
    if (site.fails()) {
        closeHandle(handle);  // even if CloseHandle reports a failure, the handle is closed
        return FALSE;
    }
    if (closeHandle(handle)) return TRUE;
    return refuse(ERROR_INVALID_HANDLE);
}
