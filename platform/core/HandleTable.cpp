#include "core/HandleTable.h"

#include <winbase.h>
#include <winerror.h>

#include <mutex>
#include <unordered_map>

#include "core/Gate.h"
#include "testing/Faults.h"

namespace platform {
namespace {

struct Table {
    std::mutex lock;
    std::unordered_map<ULONG_PTR, std::shared_ptr<Object>> objects;
    ULONG_PTR next = 0x100;  // grows for ever: a handle is never handed out twice
};

Table& table() {
    static Table& instance = *new Table;
    return instance;
}

thread_local DWORD lastError = 0;

}  // namespace

HANDLE openHandle(std::shared_ptr<Object> object) {
    std::lock_guard hold(table().lock);
    const ULONG_PTR value = table().next;
    table().next += 4;
    table().objects.emplace(value, std::move(object));
    return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<Object> findObject(HANDLE handle) {
    std::lock_guard hold(table().lock);
    const auto found = table().objects.find(reinterpret_cast<ULONG_PTR>(handle));
    return found == table().objects.end() ? nullptr : found->second;
}

bool closeHandle(HANDLE handle) {
    std::shared_ptr<Object> dying;  // ends outside the lock
    std::lock_guard hold(table().lock);
    const auto found = table().objects.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found == table().objects.end()) return false;
    dying = std::move(found->second);
    table().objects.erase(found);
    return true;
}

void setInvalidHandleError() {
    SetLastError(ERROR_INVALID_HANDLE);
}

std::size_t faults::openHandles() {
    std::lock_guard hold(table().lock);
    return table().objects.size();
}

}  // namespace platform

using platform::CallSite;

DWORD GetLastError() {
    return platform::lastError;
}

void SetLastError(DWORD error) {
    platform::lastError = error;
}

BOOL CloseHandle(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (std::dynamic_pointer_cast<platform::KeyBase>(platform::findObject(handle)) != nullptr) {
        platform::setInvalidHandleError();
        return FALSE;
    }
    if (site.fails()) {
        platform::closeHandle(handle);  // whatever the answer, nobody can use it any more
        return FALSE;
    }
    if (platform::closeHandle(handle)) return TRUE;
    platform::setInvalidHandleError();
    return FALSE;
}
