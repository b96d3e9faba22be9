// The last error of a thread, and how a call refuses.
#pragma once

#include <windef.h>
#include <winerror.h>

namespace platform {

// The failure of a call, whatever type it returns: FALSE, 0 or null.
struct Refused {
    template <typename Result>
    operator Result() const {
        return Result();
    }
};

// Sets the last error. To be returned: `return refuse(ERROR_ACCESS_DENIED);`
Refused refuse(DWORD error);

// For calls that fail with another value, such as INVALID_HANDLE_VALUE.
template <typename Result>
Result refuse(DWORD error, Result failure) {
    refuse(error);
    return failure;
}

}  // namespace platform
