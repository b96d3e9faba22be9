// Access control.
#pragma once

#include <accctrl.h>

// The caller frees the list with LocalFree.
DWORD SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL before, PACL* list);
// Owner and list point into the descriptor, which the caller frees with LocalFree.
DWORD GetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID* owner, PSID* group,
                      PACL* list, PACL* auditList, PSECURITY_DESCRIPTOR* descriptor);
