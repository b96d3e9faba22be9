// Helpers for functions that return false with a Windows error number in `err`.
#pragma once

#include <windows.h>

namespace AppletNotes {

// Sets `err` and returns false: return fail(err, ERROR_...).
inline bool fail(DWORD& err, DWORD reason) {
    err = reason;
    return false;
}

inline bool failWithLastError(DWORD& err) {
    return fail(err, GetLastError());
}

// Whether `err` means that another process has the lock or the file open right now.
inline bool isBusy(DWORD err) {
    return err == ERROR_SHARING_VIOLATION || err == ERROR_LOCK_VIOLATION;
}

}  // namespace AppletNotes
