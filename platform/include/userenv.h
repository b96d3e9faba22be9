// Environment blocks of users.
#pragma once

#include <windef.h>

BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit);
BOOL DestroyEnvironmentBlock(LPVOID environment);
