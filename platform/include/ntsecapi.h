// Logon sessions.
#pragma once

#include <winnt.h>

struct LSA_UNICODE_STRING {
    USHORT Length;  // in bytes
    USHORT MaximumLength;
    PWSTR Buffer;
};

struct LSA_LAST_INTER_LOGON_INFO {
    LARGE_INTEGER LastSuccessfulLogon;
    LARGE_INTEGER LastFailedLogon;
    ULONG FailedAttemptCountSinceLastSuccessfulLogon;
};

enum SECURITY_LOGON_TYPE { Interactive = 2, RemoteInteractive = 10, CachedInteractive = 11 };

struct SECURITY_LOGON_SESSION_DATA {
    ULONG Size;
    LUID LogonId;
    LSA_UNICODE_STRING UserName;
    LSA_UNICODE_STRING LogonDomain;
    LSA_UNICODE_STRING AuthenticationPackage;
    ULONG LogonType;
    ULONG Session;
    PSID Sid;
    LARGE_INTEGER LogonTime;
    LSA_UNICODE_STRING LogonServer;
    LSA_UNICODE_STRING DnsDomainName;
    LSA_UNICODE_STRING Upn;
    ULONG UserFlags;
    LSA_LAST_INTER_LOGON_INFO LastLogonInfo;
    LSA_UNICODE_STRING LogonScript;
    LSA_UNICODE_STRING ProfilePath;
    LSA_UNICODE_STRING HomeDirectory;
    LSA_UNICODE_STRING HomeDirectoryDrive;
    LARGE_INTEGER LogoffTime;
    LARGE_INTEGER KickOffTime;
    LARGE_INTEGER PasswordLastSet;
    LARGE_INTEGER PasswordCanChange;
    LARGE_INTEGER PasswordMustChange;
};
using PSECURITY_LOGON_SESSION_DATA = SECURITY_LOGON_SESSION_DATA*;

// The caller frees the data with LsaFreeReturnBuffer.
NTSTATUS LsaGetLogonSessionData(PLUID logon, PSECURITY_LOGON_SESSION_DATA* data);
NTSTATUS LsaFreeReturnBuffer(PVOID buffer);
ULONG LsaNtStatusToWinError(NTSTATUS status);
