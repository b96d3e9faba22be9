// The handles of the process. An object lives while a handle to it is open or a call uses it. A closed handle, or one
// of the wrong kind, gives ERROR_INVALID_HANDLE. Handle values are never reused.
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
// Returns false and changes nothing if the handle is not open.
bool closeHandle(HANDLE handle);

// Registry keys have their own base class: CloseHandle refuses them, and RegCloseKey refuses everything else.
struct KeyBase : Object {};

// Null, with ERROR_INVALID_HANDLE, if the handle is not open or has another kind.
template <typename Kind>
std::shared_ptr<Kind> find(HANDLE handle) {
    std::shared_ptr<Kind> found = std::dynamic_pointer_cast<Kind>(findObject(handle));
    if (found == nullptr) refuse(ERROR_INVALID_HANDLE);
    return found;
}

}  // namespace platform
