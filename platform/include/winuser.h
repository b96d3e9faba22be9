// Windows and messages.
#pragma once

#include <windef.h>

#define MB_ICONINFORMATION 0x00000040U
#define IDOK 1
#define RT_RCDATA MAKEINTRESOURCEW(10)

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
