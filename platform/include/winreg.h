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
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD units, LPDWORD reserved, LPWSTR className,
                      LPDWORD classUnits, FILETIME* writtenAt);
#define RRF_RT_REG_SZ 0x00000002U
// Text values only. The variables of a REG_EXPAND_SZ are replaced, and the result counts as REG_SZ.
LSTATUS RegGetValueW(HKEY key, LPCWSTR path, LPCWSTR name, DWORD flags, LPDWORD type, PVOID data, LPDWORD byteCount);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
LSTATUS RegCloseKey(HKEY key);
