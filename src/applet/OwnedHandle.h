// Handles of the store. One that fails to close cannot be reported to a caller, since that happens in clean-up; it is
// told to the debugger and changes no result.
#pragma once

#include "common/Handles.h"

namespace AppletNotes {

struct OwnedHandleTraits {
    using Raw = HANDLE;
    static Raw none() { return INVALID_HANDLE_VALUE; }
    static bool isEmpty(Raw raw) { return raw == INVALID_HANDLE_VALUE || raw == nullptr; }
    static void close(Raw raw) {
        if (!CloseHandle(raw)) OutputDebugStringW(TEXT("AppletNotes: CloseHandle failed\n"));
    }
};

using OwnedHandle = Guard<OwnedHandleTraits>;

// Where a close that fails matters: false, with the reason in `err`. The handle is gone in either case.
bool closeChecked(OwnedHandle& handle, DWORD& err);

}  // namespace AppletNotes
