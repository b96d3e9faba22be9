// The last error of a thread, and the value that a failing call returns.
#pragma once

#include <windef.h>
#include <winerror.h>

namespace platform {

// The return value of a failing call. Converts to FALSE, 0 or null.
struct Refused {
    template <typename Result>
    operator Result() const {
        return Result();
    }
};

// Sets the last error. Use it as `return refuse(ERROR_ACCESS_DENIED);`.
Refused refuse(DWORD error);

// For calls that report failure with another value, such as INVALID_HANDLE_VALUE.
template <typename Result>
Result refuse(DWORD error, Result failure) {
    refuse(error);
    return failure;
}

}  // namespace platform
