// The log file and the formatting of its lines. Called from every thread; one lock guards the file.
#include "common/Logger.h"

#include <wtsapi32.h>

#include <atomic>

#include "common/Folders.h"
#include "common/Handles.h"
#include "common/Paths.h"

namespace {

constexpr std::size_t kMessageUnits = 2000;
constexpr std::size_t kLineUnits = 2200;
constexpr LONGLONG kRotationBytes = 1048576;

std::atomic<int> threshold{static_cast<int>(LogLevel::Info)};

struct LogState {
    CRITICAL_SECTION lock;  // guards the fields below
    FileHandle file;
    WideString path;
    WideString instance;

    LogState() { InitializeCriticalSection(&lock); }
};

// Never destroyed: another thread may still write a line after main() has returned.
LogState& state() {
    static LogState& instance = *new LogState;
    return instance;
}

WideString logFolder(const WideString& instance) {
    WCHAR programData[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(TEXT("PROGRAMDATA"), programData, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return WideString();
    WideString folder = WideString(programData, length) + TEXT("\\OmbrelService_Common");
    if (!instance.empty()) folder += TEXT("_") + instance;
    return folder + TEXT("\\Logs");
}

DWORD currentSession() {
    DWORD session = 0;
    return ProcessIdToSessionId(GetCurrentProcessId(), &session) ? session : 0;
}

WideString sessionUserName(DWORD session) {
    Guard<ValueTraits<LPWSTR, WTSFreeMemory>> name;
    DWORD bytes = 0;
    const bool known = WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, session, WTSUserName, name.put(), &bytes);
    return known && name && *name.get() != 0 ? WideString(name.get()) : WideString(TEXT("unknown"));
}

// The local date on which the process started to log. The name does not change at midnight.
WideString logFilePath(const WideString& instance) {
    const WideString folder = logFolder(instance);
    if (folder.empty()) return WideString();
    const DWORD session = currentSession();
    const WideString user = sessionUserName(session);
    SYSTEMTIME now;
    GetLocalTime(&now);
    const WideString date = formatWideString(TEXT("%04u%02u%02u"), now.wYear, now.wMonth, now.wDay);
    WCHAR name[512];
    formatWide(name, 512, TEXT("\\Vellumd_%lu_%ls_%ls.log"), session, user.c_str(), date.c_str());
    return folder + name;
}

// Opened for appending and shared for reading only: a second writer cannot open the file.
void openFile(LogState& log) {
    log.file.reset(CreateFileW(log.path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Renames the full file to ".1", replacing an older one, and starts a new file.
void rotate(LogState& log) {
    const WideString older = log.path + TEXT(".1");
    log.file.reset();
    DeleteFileW(older.c_str());
    MoveFileExW(log.path.c_str(), older.c_str(), MOVEFILE_REPLACE_EXISTING);
    openFile(log);
}

// The caller holds the lock.
void writeToFile(LogState& log, const WCHAR* line) {
    char bytes[kLineUnits * 3];
    const int size = WideCharToMultiByte(CP_UTF8, 0, line, -1, bytes, sizeof bytes, nullptr, nullptr);
    if (size <= 1) return;  // the size counts the terminator
    DWORD written = 0;
    WriteFile(log.file.get(), bytes, static_cast<DWORD>(size - 1), &written, nullptr);
    LARGE_INTEGER fileSize;
    if (GetFileSizeEx(log.file.get(), &fileSize) && fileSize.QuadPart >= kRotationBytes) rotate(log);
}

void writeLine(const WCHAR* line) {
    LogState& log = state();
    CriticalSectionLock hold(log.lock);
    OutputDebugStringW(line);
    if (log.file) writeToFile(log, line);
}

void formatMessage(WCHAR (&message)[kMessageUnits], const WCHAR* format, std::va_list arguments) {
    const int length = formatWideArguments(message, kMessageUnits, format, arguments);
    if (length >= 0) return;
    // The formatter failed in the middle: mark its output as incomplete, if the mark fits.
    message[kMessageUnits - 1] = 0;
    const std::size_t kept = WideView(message).size();
    if (kept + 4 >= kMessageUnits) return;
    constexpr WideView mark = TEXT("...");
    mark.copy(message + kept, mark.size());
    message[kept + mark.size()] = 0;
}

const WCHAR* labelOf(LogLevel level) {
    switch (level) {
        case LogLevel::Debug:
            return TEXT("DEBUG");
        case LogLevel::Info:
            return TEXT("INFO ");
        case LogLevel::Warn:
            return TEXT("WARN ");
        case LogLevel::Error:
            return TEXT("ERROR");
    }
    return TEXT("?    ");
}

}  // namespace

bool logOpen(LogLevel level, const WCHAR* instance) {
    LogState& log = state();
    CriticalSectionLock hold(log.lock);
    threshold.exchange(static_cast<int>(level));
    if (instance != nullptr) log.instance = instance;
    if (log.file) return true;
    log.path = logFilePath(log.instance);
    if (!log.path.empty()) {
        createDirectoryTree(parentPath(log.path));
        openFile(log);
    }
    return static_cast<bool>(log.file);
}

void logClose() {
    LogState& log = state();
    CriticalSectionLock hold(log.lock);
    if (log.file) FlushFileBuffers(log.file.get());
    log.file.reset();
}

void logWrite(LogLevel level, const WCHAR* component, const WCHAR* format, ...) {
    if (static_cast<int>(level) < threshold.load(std::memory_order_relaxed)) return;

    SYSTEMTIME now;
    GetSystemTime(&now);
    WCHAR timestamp[40];
    formatWide(timestamp, 40, TEXT("%04u-%02u-%02uT%02u:%02u:%02u.%03uZ"), now.wYear, now.wMonth, now.wDay, now.wHour,
               now.wMinute, now.wSecond, now.wMilliseconds);

    WCHAR message[kMessageUnits] = {};
    std::va_list arguments;
    va_start(arguments, format);
    formatMessage(message, format == nullptr ? TEXT("") : format, arguments);
    va_end(arguments);

    WCHAR line[kLineUnits];
    formatWide(line, kLineUnits, TEXT("%ls [%ls] %ls: %ls\r\n"), timestamp, labelOf(level),
               component == nullptr ? TEXT("-") : component, message);
    writeLine(line);
}

void logSetLevel(LogLevel level) {
    threshold.store(static_cast<int>(level), std::memory_order_relaxed);
}

LogLevel logGetLevel() {
    return static_cast<LogLevel>(threshold.load(std::memory_order_relaxed));
}

WideString logPath() {
    LogState& log = state();
    CriticalSectionLock hold(log.lock);
    return log.path;
}

bool logParseLevel(const WCHAR* word, LogLevel* level) {
    struct Word {
        const WCHAR* text;
        LogLevel level;
    };
    static constexpr Word words[] = {{TEXT("debug"), LogLevel::Debug},
                                     {TEXT("info"), LogLevel::Info},
                                     {TEXT("warn"), LogLevel::Warn},
                                     {TEXT("warning"), LogLevel::Warn},
                                     {TEXT("error"), LogLevel::Error}};
    if (word == nullptr || level == nullptr) return false;
    for (const Word& known : words) {
        if (!equalsIgnoreCase(word, known.text)) continue;
        *level = known.level;
        return true;
    }
    return false;
}
