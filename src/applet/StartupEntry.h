// The auto-start value that runs the staged program at the user's logon. The writer of the queues sets it; here it is
// only removed.
#pragma once

#include "common/WideText.h"

namespace AppletNotes {

// Removes the value if this process runs the staged program of this store: <storeRoot>\runtime\<64 digits>\Vellumd.exe.
// Returns a Windows error number, 0 also when there is no value.
DWORD removeStartupEntry(const WideString& storeRoot);

// The value goes only if it says exactly `expected`; ERROR_INVALID_DATA otherwise. The key needs KEY_QUERY_VALUE and
// KEY_SET_VALUE.
DWORD removeRunValue(HKEY runKey, const WideString& expected);

}  // namespace AppletNotes
