// UTF-16 text, as Windows calls take it, and the common operations on it.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

// All wide printf formatting goes through here, so that every platform and Windows version writes the same text. Format
// text arguments with %ls (never %s), 32-bit integers with %lu or %u, sizes with %zu.
//
// Writes at most `capacity` units including the terminator, which is always written. Returns the length of the full
// text: `capacity` or more means that it was cut. A negative result means that the formatter failed.
int formatWideArguments(WCHAR* buffer, std::size_t capacity, const WCHAR* format, std::va_list arguments);
int formatWide(WCHAR* buffer, std::size_t capacity, const WCHAR* format, ...);

// Formats to a string of at most 255 units.
WideString formatWideString(const WCHAR* format, ...);

// Exact equality. Uses memcmp because the library's comparison of WCHAR strings works one unit at a time.
inline bool sameText(WideView left, WideView right) {
    return left.size() == right.size() && std::memcmp(left.data(), right.data(), left.size() * sizeof(WCHAR)) == 0;
}

// The value of a hexadecimal digit of either case; -1 for any other unit.
inline int hexValue(WCHAR unit) {
    if (unit >= TEXT('0') && unit <= TEXT('9')) return unit - TEXT('0');
    if (unit >= TEXT('A') && unit <= TEXT('F')) return unit - TEXT('A') + 10;
    if (unit >= TEXT('a') && unit <= TEXT('f')) return unit - TEXT('a') + 10;
    return -1;
}

// Ordinal comparison (CompareStringOrdinal), used for ids, file names and option words.
bool equalsIgnoreCase(WideView left, WideView right);
