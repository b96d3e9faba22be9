// The registry.
#pragma once

#include <winbase.h>
#include <windef.h>

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002)))

LSTATUS RegOpenCurrentUser(REGSAM access, PHKEY key);
LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR className, DWORD options, REGSAM access,
                        LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition);
LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, REGSAM access, PHKEY key);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD byteCount);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD byteCount);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
LSTATUS RegCloseKey(HKEY key);
