#include "common/WideText.h"

#include <wchar.h>

int formatWideArguments(WCHAR* buffer, std::size_t capacity, const WCHAR* format, std::va_list arguments) {
    // Not msvcrt's _vsnwprintf: it differs between versions of Windows.
    return vsnwprintf(buffer, capacity, format, arguments);
}

int formatWide(WCHAR* buffer, std::size_t capacity, const WCHAR* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int length = formatWideArguments(buffer, capacity, format, arguments);
    va_end(arguments);
    return length;
}

WideString formatWideString(const WCHAR* format, ...) {
    WCHAR buffer[256];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = formatWideArguments(buffer, 256, format, arguments);
    va_end(arguments);
    return length < 0 ? WideString() : WideString(buffer);
}

bool equalsIgnoreCase(WideView left, WideView right) {
    if (left.size() != right.size()) return false;
    return left.empty() || CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}
