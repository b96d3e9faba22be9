// Guards for the handles of the store. If closing one fails during clean-up, a debug line says so, and the result of
// the operation does not change.
#pragma once

#include "common/Handles.h"

namespace AppletNotes {

inline void closeOrReport(HANDLE handle) {
    if (!CloseHandle(handle)) OutputDebugStringW(TEXT("AppletNotes: CloseHandle failed\n"));
}

using OwnedHandle = Guard<FileTraits<closeOrReport>>;

// Closes a handle if the caller must know whether that worked. False with the reason in `err`. The guard is empty in
// both cases.
bool closeChecked(OwnedHandle& handle, DWORD& err);

}  // namespace AppletNotes
