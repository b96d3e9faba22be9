// Common controls.
#pragma once

#include <windef.h>

#define ICC_STANDARD_CLASSES 0x00004000U

struct INITCOMMONCONTROLSEX {
    DWORD dwSize;
    DWORD dwICC;
};

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls);
