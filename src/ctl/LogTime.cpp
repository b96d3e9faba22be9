#include "ctl/LogTime.h"

#include <charconv>

#include "notes/Text.h"

namespace ctl {
namespace {

constexpr std::string_view kForm = "0000-00-00T00:00:00.000Z";
constexpr FileTime kTicksOfSecond = 1000 * kTicksOfMs, kTicksOfDay = 86400 * kTicksOfSecond;

FILETIME fileTimeOf(FileTime time) {
    return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

FileTime localOf(FileTime utc) {
    const FILETIME time = fileTimeOf(utc);
    FILETIME local = time;
    FileTimeToLocalFileTime(&time, &local);
    return FileTime{local.dwHighDateTime} << 32 | local.dwLowDateTime;
}

bool hasForm(std::string_view text, std::string_view form) {
    if (text.size() != form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != form[i]) return false;
    return true;
}

// Whether there is such a time. What the text leaves out is the start of the day, the minute or the second.
bool exists(std::string_view text) {
    const std::string whole = std::string(text) + std::string("0000-01-01T00:00:00.000").substr(text.size());
    const auto number = [&whole](std::size_t at, std::size_t length) {
        return static_cast<WORD>(std::stoi(whole.substr(at, length)));
    };
    const SYSTEMTIME time = {number(0, 4),  number(5, 2), 0, number(8, 2), number(11, 2), number(14, 2),
                             number(17, 2), number(20, 3)};
    FILETIME ticks;
    return SystemTimeToFileTime(&time, &ticks) != FALSE;
}

std::optional<std::string> readSpan(std::string_view text) {
    constexpr FileTime kMostDays = 36500;
    FileTime number = 0, unit = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end + 1 != text.data() + text.size()) return std::nullopt;
    if (*end == 's') unit = kTicksOfSecond;
    if (*end == 'm') unit = 60 * kTicksOfSecond;
    if (*end == 'h') unit = 3600 * kTicksOfSecond;
    if (*end == 'd') unit = kTicksOfDay;
    if (unit == 0 || number > kMostDays * (kTicksOfDay / unit)) return std::nullopt;
    return logTimeOf(timeNow() - number * unit);
}

}  // namespace

std::string logTimeOf(FileTime time) {
    const FILETIME ticks = fileTimeOf(time);
    SYSTEMTIME parts = {};
    FileTimeToSystemTime(&ticks, &parts);
    return wideToUtf8(formatWideString(TEXT("%04u-%02u-%02uT%02u:%02u:%02u.%03uZ"), parts.wYear, parts.wMonth,
                                       parts.wDay, parts.wHour, parts.wMinute, parts.wSecond, parts.wMilliseconds));
}

bool beginsWithLogTime(std::string_view line) {
    return hasForm(line.substr(0, kLogTimeLength), kForm);
}

FileTime utcOf(FileTime local) {
    return local - (localOf(local) - local);
}

FileTime startOfToday() {
    const FileTime now = localOf(timeNow());
    return utcOf(now - now % kTicksOfDay);
}

std::optional<std::string> readSince(std::string_view text) {
    if (text.ends_with('Z')) text.remove_suffix(1);
    for (const std::size_t length : {10U, 16U, 19U, 23U})  // a day, a minute, a second, a millisecond
        if (hasForm(text, kForm.substr(0, length)))
            return exists(text) ? std::optional(std::string(text)) : std::nullopt;
    return readSpan(text);
}

}  // namespace ctl
