// UTF-16 text, as the platform's calls take it, and the few operations on it that everything needs.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

// The one door to wide printf formatting: the same bytes for the same arguments on every platform. Text arguments
// are %ls (never %s), 32-bit ones %lu or %u, sizes %zu.
//
// Writes at most `capacity` units, terminator included, and always terminates. Returns the length of the whole
// text, which is `capacity` or more when it was cut, or a negative number when the formatter gave up.
int formatWideArguments(WCHAR* buffer, std::size_t capacity, const WCHAR* format, std::va_list arguments);
int formatWide(WCHAR* buffer, std::size_t capacity, const WCHAR* format, ...);

// The text as a string, for formats whose result is short: up to 255 units.
WideString formatWideString(const WCHAR* format, ...);

// Unit by unit. The comparison of the library goes one unit at a time where units are no char.
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

// Ordinal and culture-free: how ids, file names and option words are matched.
bool equalsIgnoreCase(WideView left, WideView right);
