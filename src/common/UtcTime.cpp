#include "common/UtcTime.h"

namespace {

bool isBlank(WCHAR unit) {
    return unit == TEXT(' ') || (unit >= TEXT('\t') && unit <= TEXT('\r'));
}

bool isDigit(WCHAR unit) {
    return unit >= TEXT('0') && unit <= TEXT('9');
}

// Reads one decimal number as the C library's "%d" does and cuts it from the head of `text`. Of a number that is
// too large only the low bits count, and the caller keeps no more than those. False when there is no digit.
bool takeNumber(WideView& text, WORD& number) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    const bool isNegative = !text.empty() && text.front() == TEXT('-');
    if (!text.empty() && (isNegative || text.front() == TEXT('+'))) text.remove_prefix(1);
    if (text.empty() || !isDigit(text.front())) return false;
    DWORD value = 0;
    for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1))
        value = value * 10 + static_cast<DWORD>(text.front() - TEXT('0'));
    number = static_cast<WORD>(isNegative ? 0 - value : value);
    return true;
}

bool takeUnit(WideView& text, WCHAR unit) {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

WideString formatUtcTime(const SYSTEMTIME& time) {
    return formatWideString(TEXT("%04u-%02u-%02uT%02u:%02u:%02uZ"), time.wYear, time.wMonth, time.wDay, time.wHour,
                            time.wMinute, time.wSecond);
}

WideString nowUtcText() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    return formatUtcTime(now);
}

bool parseUtcTime(WideView text, SYSTEMTIME& time) {
    if (text.size() < 19) return false;
    SYSTEMTIME read = {};
    WORD* const fields[] = {&read.wYear, &read.wMonth, &read.wDay, &read.wHour, &read.wMinute, &read.wSecond};
    constexpr WideView separators = TEXT("--T::");
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0 && !takeUnit(text, separators[i - 1])) return false;
        if (!takeNumber(text, *fields[i])) return false;
    }
    time = read;
    return true;
}
