// Common controls.
#pragma once

#include <windef.h>

#define ICC_STANDARD_CLASSES 0x00004000U

struct INITCOMMONCONTROLSEX {
    DWORD dwSize;
    DWORD dwICC;
};

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls);

using SUBCLASSPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM, UINT_PTR id, DWORD_PTR data);

BOOL SetWindowSubclass(HWND window, SUBCLASSPROC procedure, UINT_PTR id, DWORD_PTR data);
BOOL RemoveWindowSubclass(HWND window, SUBCLASSPROC procedure, UINT_PTR id);
LRESULT DefSubclassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
