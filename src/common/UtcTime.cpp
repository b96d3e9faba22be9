// Parsing and formatting of note times. Any thread.
#include "common/UtcTime.h"

namespace {

bool isBlank(WCHAR unit) {
    return unit == TEXT(' ') || (unit >= TEXT('\t') && unit <= TEXT('\r'));
}

bool isDigit(WCHAR unit) {
    return unit >= TEXT('0') && unit <= TEXT('9');
}

// Removes one decimal number, in the syntax of scanf's "%d", from the start of `text`. Overflow wraps around: only the
// low 16 bits are kept. False when there is no digit.
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

// Pads with leading zeros to `width` digits.
void appendNumber(WideString& text, WORD number, std::size_t width) {
    WCHAR digits[5];
    std::size_t at = 5;
    do
        digits[--at] = static_cast<WCHAR>(TEXT('0') + number % 10);
    while ((number = static_cast<WORD>(number / 10)) != 0);
    while (5 - at < width)
        digits[--at] = TEXT('0');
    text.append(digits + at, 5 - at);
}

bool takeUnit(WideView& text, WCHAR unit) {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

// Does not call the printf formatter, which is slow: each save formats two times.
WideString formatUtcTime(const SYSTEMTIME& time) {
    WideString text;
    appendNumber(text, time.wYear, 4);
    appendNumber(text += TEXT('-'), time.wMonth, 2);
    appendNumber(text += TEXT('-'), time.wDay, 2);
    appendNumber(text += TEXT('T'), time.wHour, 2);
    appendNumber(text += TEXT(':'), time.wMinute, 2);
    appendNumber(text += TEXT(':'), time.wSecond, 2);
    return text += TEXT('Z');
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
