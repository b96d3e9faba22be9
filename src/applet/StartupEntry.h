// The auto-start value that runs the staged program at the user's logon. The writer of the queues sets it; this program
// only removes it.
#pragma once

#include "common/WideText.h"

namespace AppletNotes {

// Removes the value if this process's image is the staged program of this store: <storeRoot>\runtime\<64 hexadecimal
// digits>\Vellumd.exe. Returns a Windows error number, 0 also when there is no value.
DWORD removeStartupEntry(const WideString& storeRoot);

// Removes the value only if it is exactly `expected`; otherwise returns ERROR_INVALID_DATA. The key needs
// KEY_QUERY_VALUE and KEY_SET_VALUE.
DWORD removeRunValue(HKEY runKey, const WideString& expected);

}  // namespace AppletNotes
