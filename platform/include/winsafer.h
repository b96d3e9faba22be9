// Software restriction levels: tokens with fewer rights.
#pragma once

#include <windef.h>

DECLARE_HANDLE(SAFER_LEVEL_HANDLE);

#define SAFER_SCOPEID_USER 2
#define SAFER_LEVELID_NORMALUSER 0x20000
#define SAFER_LEVEL_OPEN 1

BOOL SaferCreateLevel(DWORD scope, DWORD levelId, DWORD flags, SAFER_LEVEL_HANDLE* level, LPVOID reserved);
BOOL SaferComputeTokenFromLevel(SAFER_LEVEL_HANDLE level, HANDLE token, PHANDLE made, DWORD flags, LPVOID reserved);
BOOL SaferCloseLevel(SAFER_LEVEL_HANDLE level);
