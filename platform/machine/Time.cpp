// The system time and its representations.
#include <windows.h>

#include <algorithm>
#include <ctime>
#include <string>

#include "core/Clock.h"
#include "core/Error.h"
#include "core/Gate.h"

using namespace platform;

namespace {

SYSTEMTIME systemTime(bool local) {
    const std::int64_t milliseconds = clock::now();
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts = {};
    if (local)
        localtime_r(&seconds, &parts);
    else
        gmtime_r(&seconds, &parts);
    const auto word = [](std::int64_t value) { return static_cast<WORD>(value); };
    return {word(parts.tm_year + 1900), word(parts.tm_mon + 1), word(parts.tm_wday), word(parts.tm_mday),
            word(parts.tm_hour),        word(parts.tm_min),     word(parts.tm_sec),  word(milliseconds % 1000)};
}

}  // namespace

void GetSystemTime(LPSYSTEMTIME time) {
    static constinit CallSite site{__func__};
    site.pass();
    *time = systemTime(false);
}

void GetLocalTime(LPSYSTEMTIME time) {
    static constinit CallSite site{__func__};
    site.pass();
    *time = systemTime(true);
}

namespace {

// FILETIME counts 100 ns units since 1601.
constexpr std::int64_t kTicksPerMs = 10'000, kMsFrom1601To1970 = 11'644'473'600'000;

FILETIME fileTimeOf(std::int64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::int64_t ticksOf(const FILETIME& time) {
    return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

bool isTime(const SYSTEMTIME& time) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (time.wYear < 1601 || time.wYear > 30827 || time.wMonth < 1 || time.wMonth > 12) return false;
    const bool isLeap = time.wYear % 4 == 0 && (time.wYear % 100 != 0 || time.wYear % 400 == 0);
    const int days = kDays[time.wMonth - 1] + (time.wMonth == 2 && isLeap ? 1 : 0);
    return time.wDay >= 1 && time.wDay <= days && time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 &&
           time.wMilliseconds < 1000;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

}  // namespace

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (!isTime(*time)) return refuse(ERROR_INVALID_PARAMETER);
    std::tm parts = {};
    parts.tm_year = time->wYear - 1900;
    parts.tm_mon = time->wMonth - 1;
    parts.tm_mday = time->wDay;
    parts.tm_hour = time->wHour;
    parts.tm_min = time->wMinute;
    parts.tm_sec = time->wSecond;
    const std::int64_t milliseconds = std::int64_t{timegm(&parts)} * 1000 + time->wMilliseconds + kMsFrom1601To1970;
    *fileTime = fileTimeOf(milliseconds * kTicksPerMs);
    return TRUE;
}

// Uses the current UTC offset, even for a time in another season.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::time_t now = static_cast<std::time_t>(clock::now() / 1000);
    std::tm parts = {};
    localtime_r(&now, &parts);
    *local = fileTimeOf(ticksOf(*utc) + std::int64_t{parts.tm_gmtoff} * 1000 * kTicksPerMs);
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME time) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::int64_t ticks = ticksOf(*fileTime);
    if (ticks < 0) return refuse(ERROR_INVALID_PARAMETER);
    const std::int64_t milliseconds = ticks / kTicksPerMs - kMsFrom1601To1970;
    const std::time_t seconds = static_cast<std::time_t>(floorDivide(milliseconds, 1000));
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    const auto word = [](std::int64_t value) { return static_cast<WORD>(value); };
    *time = {word(parts.tm_year + 1900), word(parts.tm_mon + 1),
             word(parts.tm_wday),        word(parts.tm_mday),
             word(parts.tm_hour),        word(parts.tm_min),
             word(parts.tm_sec),         word(milliseconds - std::int64_t{seconds} * 1000)};
    return TRUE;
}

// Uses the format of the United States, as Wine does.
int GetDateFormatEx(LPCWSTR, DWORD, const SYSTEMTIME* date, LPCWSTR, LPWSTR text, int capacity, LPCWSTR) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    const std::string written =
        std::to_string(date->wMonth) + "/" + std::to_string(date->wDay) + "/" + std::to_string(date->wYear);
    if (written.size() >= static_cast<std::size_t>(capacity)) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::copy(written.begin(), written.end(), text);
    text[written.size()] = 0;
    return static_cast<int>(written.size()) + 1;
}
