// Handles of the store. Closing happens in clean-up, where a failure has no caller to go to: a debug line reports it,
// and the result of the operation stays.
#pragma once

#include "common/Handles.h"

namespace AppletNotes {

inline void closeOrReport(HANDLE handle) {
    if (!CloseHandle(handle)) OutputDebugStringW(TEXT("AppletNotes: CloseHandle failed\n"));
}

using OwnedHandle = Guard<FileTraits<closeOrReport>>;

// For a handle whose failure to close matters: false, with the reason in `err`. The handle is gone in either case.
bool closeChecked(OwnedHandle& handle, DWORD& err);

}  // namespace AppletNotes
