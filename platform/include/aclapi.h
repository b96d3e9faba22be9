// Access control.
#pragma once

#include <accctrl.h>

// The caller owes the list to LocalFree.
DWORD SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL before, PACL* list);
// Owner and list lie in the descriptor, which the caller owes to LocalFree.
DWORD GetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID* owner, PSID* group,
                      PACL* list, PACL* auditList, PSECURITY_DESCRIPTOR* descriptor);
