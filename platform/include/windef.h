// Basic types, with the sizes that they have on 64-bit Windows.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK

using BYTE = unsigned char;
using BOOLEAN = BYTE;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using INT = int;
using UINT = unsigned int;
using USHORT = std::uint16_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using SIZE_T = std::size_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = ULONG_PTR;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using ATOM = WORD;
using BOOL = int;
using COLORREF = DWORD;
using CHAR = char;
using WCHAR = char16_t;
using HRESULT = LONG;
using LSTATUS = LONG;
using NTSTATUS = LONG;
using REGSAM = DWORD;

using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using PUCHAR = unsigned char*;
using PDWORD = DWORD*;
using LPDWORD = DWORD*;
using PBOOL = BOOL*;
using LPBOOL = BOOL*;
using LPSTR = CHAR*;
using LPCSTR = const CHAR*;
using LPCCH = const CHAR*;
using LPWSTR = WCHAR*;
using PWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPCWCH = const WCHAR*;

using HANDLE = void*;
using HGLOBAL = HANDLE;
using HLOCAL = HANDLE;

// Each handle type is its own C++ type, so that the compiler refuses to mix them.
#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    using name = name##__*
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HFONT);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HMONITOR);
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HWND);
using HMODULE = HINSTANCE;
using HCURSOR = HICON;
using HGDIOBJ = void*;
using PHKEY = HKEY*;
using PHANDLE = HANDLE*;

using FARPROC = INT_PTR(WINAPI*)();

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260

#define TEXT_(quoted) u##quoted
#define TEXT(quoted) TEXT_(quoted)

#define MAKEINTRESOURCEW(number) (reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(number))))

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

using LPRECT = RECT*;
using LPCRECT = const RECT*;

struct POINT {
    LONG x;
    LONG y;
};
using LPPOINT = POINT*;

#define LOWORD(value) (static_cast<WORD>(static_cast<DWORD_PTR>(value) & 0xffff))
#define HIWORD(value) (static_cast<WORD>((static_cast<DWORD_PTR>(value) >> 16) & 0xffff))

#define MAKELONG(low, high) \
    (static_cast<LONG>(static_cast<WORD>(low) | (static_cast<DWORD>(static_cast<WORD>(high)) << 16)))
#define MAKEWPARAM(low, high) (static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(low, high))))
#define MAKELPARAM(low, high) (static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(low, high))))

struct LUID {
    DWORD LowPart;
    LONG HighPart;
};

using PLUID = LUID*;

struct GUID {
    ULONG Data1;
    USHORT Data2;
    USHORT Data3;
    BYTE Data4[8];
};
using KNOWNFOLDERID = GUID;
using LPOLESTR = WCHAR*;
#define REFGUID const GUID&
#define REFCLSID const GUID&
#define REFIID const GUID&
#define REFKNOWNFOLDERID const KNOWNFOLDERID&
