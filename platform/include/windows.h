// The Windows API that the product calls, under the real names. On Linux the product includes this header in place of
// the system's <windows.h>.
#pragma once

#include <windef.h>

#include <winbase.h>
#include <winerror.h>
#include <wingdi.h>
#include <winnls.h>
#include <winnt.h>
#include <winreg.h>
#include <winuser.h>
