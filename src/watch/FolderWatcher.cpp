#include "watch/FolderWatcher.h"

#include <process.h>

#include "common/Logger.h"
#include "common/Messages.h"
#include "common/Paths.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("Watcher");
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kCancelMs = 1000;
constexpr DWORD kStopMs = 5000;
constexpr DWORD kBufferBytes = 65536;
constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;

HANDLE openFolder(const WideString& folder) {
    return CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr);
}

// 0 for what nobody is told of.
UINT messageFor(DWORD action) {
    switch (action) {
        case FILE_ACTION_ADDED:
        case FILE_ACTION_MODIFIED:
        case FILE_ACTION_RENAMED_NEW_NAME:
            return WM_APP_FILE_ADDED;
        case FILE_ACTION_REMOVED:
        case FILE_ACTION_RENAMED_OLD_NAME:
            return WM_APP_FILE_REMOVED;
        default:
            return 0;
    }
}

}  // namespace

bool FolderWatcher::start(const WideString& folder, HWND target) {
    if (worker_) return false;
    folder_ = folder;
    target_ = target;
    stopEvent_.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!stopEvent_) return false;
    worker_.reset(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, threadMain, this, 0, nullptr)));
    if (worker_) return true;
    stopEvent_.reset();
    return false;
}

void FolderWatcher::stop() {
    if (stopEvent_) SetEvent(stopEvent_.get());
    if (worker_) WaitForSingleObject(worker_.get(), kStopMs);
    worker_.reset();
    stopEvent_.reset();
}

unsigned WINAPI FolderWatcher::threadMain(void* self) {
    static_cast<const FolderWatcher*>(self)->work();
    return 0;
}

// A stop event that cannot be waited for has been closed: whoever stops the worker has waited long enough.
bool FolderWatcher::isStopped(DWORD milliseconds) const {
    return WaitForSingleObject(stopEvent_.get(), milliseconds) != WAIT_TIMEOUT;
}

void FolderWatcher::work() const {
    logWrite(LogLevel::Info, kComponent, TEXT("Worker started on %ls"), folder_.c_str());
    bool folderWarned = false;
    while (!isStopped(0)) {
        Reading reading;
        reading.directory.reset(openFolder(folder_));
        if (!reading.directory) {
            const DWORD err = GetLastError();
            if (!folderWarned)
                logWrite(LogLevel::Warn, kComponent, TEXT("Cannot open folder %ls (err=%lu); will keep retrying"),
                         folder_.c_str(), err);
            folderWarned = true;
            if (isStopped(kRetryMs)) break;
            continue;
        }
        if (folderWarned) logWrite(LogLevel::Info, kComponent, TEXT("Folder reachable again: %ls"), folder_.c_str());
        folderWarned = false;
        reading.done.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (!reading.done) break;
        reading.buffer.resize(kBufferBytes / sizeof(DWORD));
        readChanges(reading);
    }
    logWrite(LogLevel::Info, kComponent, TEXT("Worker stopped"));
}

// Until the folder or the read fails, or the stop event is set.
void FolderWatcher::readChanges(Reading& reading) const {
    const HANDLE directory = reading.directory.get();
    const HANDLE either[] = {reading.done.get(), stopEvent_.get()};
    reading.overlapped.hEvent = reading.done.get();
    while (!isStopped(0)) {
        DWORD bytes = 0;
        ResetEvent(reading.done.get());
        if (!ReadDirectoryChangesW(directory, reading.buffer.data(), kBufferBytes, FALSE, kFilter, &bytes,
                                   &reading.overlapped, nullptr)) {
            logWrite(LogLevel::Warn, kComponent, TEXT("ReadDirectoryChangesW failed (err=%lu); reopening directory"),
                     GetLastError());
            return;
        }
        if (WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0) {
            CancelIoEx(directory, &reading.overlapped);
            WaitForSingleObject(reading.done.get(), kCancelMs);
            return;
        }
        if (!GetOverlappedResult(directory, &reading.overlapped, &bytes, FALSE)) {
            logWrite(LogLevel::Warn, kComponent, TEXT("GetOverlappedResult failed (err=%lu); reopening directory"),
                     GetLastError());
            return;
        }
        if (bytes == 0)
            reportAllFiles();
        else
            reportRecords(reinterpret_cast<const BYTE*>(reading.buffer.data()));
    }
}

void FolderWatcher::reportRecords(const BYTE* buffer) const {
    for (;;) {
        const auto& record = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer);
        reportChange(record.Action, WideString(record.FileName, record.FileNameLength / sizeof(WCHAR)));
        if (record.NextEntryOffset == 0) return;
        buffer += record.NextEntryOffset;
    }
}

// A message that cannot be posted is lost.
void FolderWatcher::reportChange(DWORD action, const WideString& name) const {
    if (!equalsIgnoreCase(lowerExtension(name), TEXT("json"))) return;
    if (const UINT message = messageFor(action)) postText(target_, message, joinPath(folder_, name));
}

// Changes were lost. What is there now counts as added; what went away meanwhile is not found.
void FolderWatcher::reportAllFiles() const {
    logWrite(LogLevel::Info, kComponent, TEXT("Change buffer overflowed; re-enumerating folder"));
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(joinPath(folder_, TEXT("*.json")).c_str(), &entry));
    if (!search) return;
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            postText(target_, WM_APP_FILE_ADDED, joinPath(folder_, entry.cFileName));
    } while (FindNextFileW(search.get(), &entry) != 0);
}
