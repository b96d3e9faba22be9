// The version of an executable file.
#pragma once

#include <windef.h>

struct VS_FIXEDFILEINFO {
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

DWORD GetFileVersionInfoSizeW(LPCWSTR path, DWORD* unused);
BOOL GetFileVersionInfoW(LPCWSTR path, DWORD unused, DWORD size, LPVOID block);
BOOL VerQueryValueW(LPCVOID block, LPCWSTR name, LPVOID* value, UINT* size);
