#include "core/Error.h"

#include <winbase.h>

namespace {

thread_local DWORD lastError = 0;

}  // namespace

platform::Refused platform::refuse(DWORD error) {
    lastError = error;
    return {};
}

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}
