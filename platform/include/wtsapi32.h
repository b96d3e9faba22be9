// Sessions.
#pragma once

#include <windef.h>

#define WTS_CURRENT_SERVER_HANDLE (static_cast<HANDLE>(nullptr))

enum WTS_INFO_CLASS { WTSUserName = 5 };

BOOL WTSQuerySessionInformationW(HANDLE server, DWORD sessionId, WTS_INFO_CLASS what, LPWSTR* buffer, DWORD* bytes);
void WTSFreeMemory(PVOID memory);
