// Conversion and comparison of text.
#pragma once

#include <winbase.h>
#include <windef.h>

#include <cstdarg>

#define CP_UTF8 65001
#define MB_ERR_INVALID_CHARS 0x00000008
#define CSTR_LESS_THAN 1
#define CSTR_EQUAL 2
#define CSTR_GREATER_THAN 3

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH bytes, int byteCount, LPWSTR wide, int wideCapacity);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideUnits, LPSTR bytes, int byteCapacity,
                        LPCCH defaultChar, LPBOOL usedDefaultChar);
#define LOCALE_NAME_USER_DEFAULT (static_cast<LPCWSTR>(nullptr))
#define DATE_SHORTDATE 0x00000001U
int GetDateFormatEx(LPCWSTR locale, DWORD flags, const SYSTEMTIME* date, LPCWSTR format, LPWSTR text, int capacity,
                    LPCWSTR calendar);

int CompareStringOrdinal(LPCWCH left, int leftUnits, LPCWCH right, int rightUnits, BOOL ignoreCase);

// The wide formatter of the C runtime that the Windows build links with; it is the same on every Windows version. It
// uses the Windows data model: `l` is 32 bits. Returns the full length of the text, even if the buffer is too small,
// and always terminates the buffer. Returns a negative number if the format is not supported.
int vsnwprintf(WCHAR* buffer, std::size_t capacity, const WCHAR* format, std::va_list arguments);
