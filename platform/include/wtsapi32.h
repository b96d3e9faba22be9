// Terminal Services sessions.
#pragma once

#include <windef.h>

#define WTS_CURRENT_SERVER_HANDLE (static_cast<HANDLE>(nullptr))

enum WTS_INFO_CLASS { WTSUserName = 5 };

enum WTS_CONNECTSTATE_CLASS {
    WTSActive,
    WTSConnected,
    WTSConnectQuery,
    WTSShadow,
    WTSDisconnected,
    WTSIdle,
    WTSListen,
    WTSReset,
    WTSDown,
    WTSInit
};

struct WTS_SESSION_INFOW {
    DWORD SessionId;
    LPWSTR pWinStationName;
    WTS_CONNECTSTATE_CLASS State;
};
using PWTS_SESSION_INFOW = WTS_SESSION_INFOW*;

struct WTS_PROCESS_INFOW {
    DWORD SessionId;
    DWORD ProcessId;
    LPWSTR pProcessName;
    PSID pUserSid;
};
using PWTS_PROCESS_INFOW = WTS_PROCESS_INFOW*;

BOOL WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version, PWTS_SESSION_INFOW* sessions, DWORD* count);
BOOL WTSEnumerateProcessesW(HANDLE server, DWORD reserved, DWORD version, PWTS_PROCESS_INFOW* processes, DWORD* count);
BOOL WTSQueryUserToken(ULONG sessionId, PHANDLE token);

BOOL WTSQuerySessionInformationW(HANDLE server, DWORD sessionId, WTS_INFO_CLASS what, LPWSTR* buffer, DWORD* bytes);
void WTSFreeMemory(PVOID memory);
