// Security identifiers, tokens, security descriptors.
#pragma once

#include <winnt.h>

#include <minwinbase.h>

BOOL IsValidSid(PSID sid);
DWORD GetLengthSid(PSID sid);
BOOL CopySid(DWORD capacity, PSID destination, PSID source);
BOOL EqualSid(PSID left, PSID right);
PUCHAR GetSidSubAuthorityCount(PSID sid);
PDWORD GetSidSubAuthority(PSID sid, DWORD index);
BOOL IsWellKnownSid(PSID sid, WELL_KNOWN_SID_TYPE type);
BOOL CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* byteCount);
// The caller frees the SID with FreeSid.
BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first, DWORD second, DWORD third,
                              DWORD fourth, DWORD fifth, DWORD sixth, DWORD seventh, DWORD eighth, PSID* sid);
PVOID FreeSid(PSID sid);

BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS what, LPVOID data, DWORD byteCount, PDWORD needed);
BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES wanted, DWORD byteCount,
                           PTOKEN_PRIVILEGES before, PDWORD needed);
BOOL DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES security, SECURITY_IMPERSONATION_LEVEL level,
                      TOKEN_TYPE type, PHANDLE made);
BOOL CreateRestrictedToken(HANDLE token, DWORD flags, DWORD disabledCount, PSID_AND_ATTRIBUTES disabled,
                           DWORD deletedCount, PLUID_AND_ATTRIBUTES deleted, DWORD restrictedCount,
                           PSID_AND_ATTRIBUTES restricted, PHANDLE made);
BOOL SetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS what, LPVOID data, DWORD byteCount);
BOOL CheckTokenMembership(HANDLE token, PSID sid, PBOOL isMember);

BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision);
BOOL SetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID owner, BOOL isDefaulted);
BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL isPresent, PACL list, BOOL isDefaulted);
BOOL SetSecurityDescriptorControl(PSECURITY_DESCRIPTOR descriptor, SECURITY_DESCRIPTOR_CONTROL mask,
                                  SECURITY_DESCRIPTOR_CONTROL value);
BOOL GetAce(PACL list, DWORD index, LPVOID* entry);
