// Handles of the process. An object lives as long as a handle is open or a call is using it; a handle that was
// closed, or is of another kind than the call wants, gives ERROR_INVALID_HANDLE and is never reused.
#pragma once

#include <windef.h>

#include <memory>

#include "core/Error.h"

namespace platform {

struct Object {
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;
};

HANDLE openHandle(std::shared_ptr<Object> object);
std::shared_ptr<Object> findObject(HANDLE handle);
// False, with nothing changed, when there is no such handle.
bool closeHandle(HANDLE handle);

// Keys are no handles for CloseHandle, and files none for RegCloseKey.
struct KeyBase : Object {};

// Null, with the last error ERROR_INVALID_HANDLE, when the handle is no open one of this kind.
template <typename Kind>
std::shared_ptr<Kind> find(HANDLE handle) {
    std::shared_ptr<Kind> found = std::dynamic_pointer_cast<Kind>(findObject(handle));
    if (found == nullptr) refuse(ERROR_INVALID_HANDLE);
    return found;
}

}  // namespace platform
