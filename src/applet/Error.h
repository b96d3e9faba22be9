#pragma once

#include <windows.h>

namespace AppletNotes {

// How an operation ends that reports its failure in `err`, as a Windows error number: return fail(err, ERROR_...).
inline bool fail(DWORD& err, DWORD reason) {
    err = reason;
    return false;
}

inline bool failWithLastError(DWORD& err) {
    return fail(err, GetLastError());
}

// Someone else is at work here right now.
inline bool isBusy(DWORD err) {
    return err == ERROR_SHARING_VIOLATION || err == ERROR_LOCK_VIOLATION;
}

}  // namespace AppletNotes
