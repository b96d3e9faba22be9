// SIDs as text.
#pragma once

#include <winbase.h>
#include <windef.h>

// The caller frees the SID with LocalFree.
BOOL ConvertStringSidToSidW(LPCWSTR text, PSID* sid);
