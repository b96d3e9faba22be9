// The worker thread of the folder watcher. start and stop run on the main thread, everything else in the worker.
#include "watch/FolderWatcher.h"

#include <process.h>

#include <vector>

#include "common/Logger.h"
#include "common/Messages.h"
#include "common/Paths.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("Watcher");
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kSteadyMs = 1000;  // a read that is still pending after this time shows that the folder works
constexpr DWORD kCancelMs = 1000;
constexpr DWORD kStopMs = 5000;
constexpr DWORD kBufferBytes = 65536;
constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;

HANDLE openFolder(const WideString& folder) {
    return CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr);
}

// The message for a change; 0 for changes that are not reported.
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

// The worker's data and code. Only the stop event is used by both threads.
class FolderWatcher::Worker {
  public:
    Worker(WideString folder, HWND target) : folder_(std::move(folder)), target_(target) {}

    // False when the system cannot create the event.
    bool prepare() {
        stopEvent_.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        return static_cast<bool>(stopEvent_);
    }
    void askToStop() const { SetEvent(stopEvent_.get()); }
    void work() const;

  private:
    // What the worker holds while the folder is open. The system writes to `buffer` and `overlapped` while a read is
    // pending. Closing `directory` ends the read, so it is declared after them and is destroyed before them.
    struct Reading {
        std::vector<DWORD> buffer;  // records are aligned to DWORDs
        OVERLAPPED overlapped = {};
        FileHandle directory;
        KernelHandle done;
    };

    // The state of an outage: the folder cannot be opened, or cannot be read. Each of the two is logged once.
    struct Outage {
        bool openWarned = false;
        bool readWarned = false;
        bool readFailed = false;

        bool isOn() const { return openWarned || readFailed; }
    };

    bool isStopped(DWORD milliseconds) const;
    bool watchFolder(Outage& outage) const;
    void readChanges(Reading& reading, Outage& outage) const;
    DWORD awaitRead(const Reading& reading, Outage& outage) const;
    static void failRead(Outage& outage, const WCHAR* warning);
    void endOutage(Outage& outage) const;
    void reportRecords(const BYTE* buffer) const;
    void reportChange(DWORD action, const WideString& name) const;
    void reportAllFiles() const;

    const WideString folder_;
    const HWND target_;
    KernelHandle stopEvent_;
};

bool FolderWatcher::start(const WideString& folder, HWND target) {
    if (thread_) return false;
    auto worker = std::make_shared<Worker>(folder, target);
    if (!worker->prepare()) return false;
    auto forThread = std::make_unique<std::shared_ptr<Worker>>(worker);
    thread_.reset(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, threadMain, forThread.get(), 0, nullptr)));
    if (!thread_) return false;
    static_cast<void>(forThread.release());  // the thread owns it now
    worker_ = std::move(worker);
    return true;
}

void FolderWatcher::stop() {
    if (worker_ != nullptr) worker_->askToStop();
    if (thread_) WaitForSingleObject(thread_.get(), kStopMs);
    thread_.reset();
    worker_.reset();
}

unsigned WINAPI FolderWatcher::threadMain(void* worker) {
    const std::unique_ptr<std::shared_ptr<Worker>> own(static_cast<std::shared_ptr<Worker>*>(worker));
    (*own)->work();
    return 0;
}

bool FolderWatcher::Worker::isStopped(DWORD milliseconds) const {
    return WaitForSingleObject(stopEvent_.get(), milliseconds) == WAIT_OBJECT_0;
}

void FolderWatcher::Worker::work() const {
    logWrite(LogLevel::Info, kComponent, TEXT("Worker started on %ls"), folder_.c_str());
    Outage outage;
    while (!isStopped(0) && watchFolder(outage) && !isStopped(kRetryMs)) {
    }
    logWrite(LogLevel::Info, kComponent, TEXT("Worker stopped"));
}

// Returns when the folder cannot be opened, a read fails, or the stop event is set. False when the system cannot create
// an event.
bool FolderWatcher::Worker::watchFolder(Outage& outage) const {
    Reading reading;
    reading.directory.reset(openFolder(folder_));
    if (!reading.directory) {
        const DWORD err = GetLastError();
        if (!outage.openWarned)
            logWrite(LogLevel::Warn, kComponent, TEXT("Cannot open folder %ls (err=%lu); will keep retrying"),
                     folder_.c_str(), err);
        outage.openWarned = true;
        return true;
    }
    if (outage.openWarned && !outage.readFailed) endOutage(outage);
    reading.done.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!reading.done) return false;
    reading.buffer.resize(kBufferBytes / sizeof(DWORD));
    readChanges(reading, outage);
    return true;
}

void FolderWatcher::Worker::readChanges(Reading& reading, Outage& outage) const {
    const HANDLE directory = reading.directory.get();
    reading.overlapped.hEvent = reading.done.get();
    while (!isStopped(0)) {
        DWORD bytes = 0;
        ResetEvent(reading.done.get());
        if (!ReadDirectoryChangesW(directory, reading.buffer.data(), kBufferBytes, FALSE, kFilter, &bytes,
                                   &reading.overlapped, nullptr))
            return failRead(outage, TEXT("ReadDirectoryChangesW failed (err=%lu); reopening directory"));
        if (awaitRead(reading, outage) != WAIT_OBJECT_0) {
            CancelIoEx(directory, &reading.overlapped);
            WaitForSingleObject(reading.done.get(), kCancelMs);
            outage.readFailed = true;
            return;
        }
        if (!GetOverlappedResult(directory, &reading.overlapped, &bytes, FALSE)) {
            if (GetLastError() != ERROR_NOTIFY_ENUM_DIR)
                return failRead(outage, TEXT("GetOverlappedResult failed (err=%lu); reopening directory"));
            bytes = 0;  // some systems report an overflow this way
        }
        if (bytes == 0) {
            logWrite(LogLevel::Info, kComponent, TEXT("Change buffer overflowed; re-enumerating folder"));
            reportAllFiles();
        } else {
            reportRecords(reinterpret_cast<const BYTE*>(reading.buffer.data()));
        }
        if (outage.isOn()) endOutage(outage);
    }
}

// Returns WAIT_OBJECT_0 when the read is done. A read can fail some time after it began, so an outage ends only when a
// read has been pending for a while.
DWORD FolderWatcher::Worker::awaitRead(const Reading& reading, Outage& outage) const {
    const HANDLE either[] = {reading.done.get(), stopEvent_.get()};
    if (outage.isOn()) {
        const DWORD woken = WaitForMultipleObjects(2, either, FALSE, kSteadyMs);
        if (woken != WAIT_TIMEOUT) return woken;
        endOutage(outage);
    }
    return WaitForMultipleObjects(2, either, FALSE, INFINITE);
}

// `warning` is a format with one %lu for the last error.
void FolderWatcher::Worker::failRead(Outage& outage, const WCHAR* warning) {
    const DWORD err = GetLastError();
    if (!outage.readWarned) logWrite(LogLevel::Warn, kComponent, warning, err);
    outage.readWarned = outage.readFailed = true;
}

// After a failed read, changes may be lost, so every file in the folder is reported as added. After a failed open, the
// folder is not listed: the open notes stay as they are until the next scan.
void FolderWatcher::Worker::endOutage(Outage& outage) const {
    if (outage.openWarned || outage.readWarned)
        logWrite(LogLevel::Info, kComponent, TEXT("Folder reachable again: %ls"), folder_.c_str());
    if (!outage.openWarned) reportAllFiles();
    outage = {};
}

void FolderWatcher::Worker::reportRecords(const BYTE* buffer) const {
    for (;;) {
        const auto& record = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer);
        reportChange(record.Action, WideString(record.FileName, record.FileNameLength / sizeof(WCHAR)));
        if (record.NextEntryOffset == 0) return;
        buffer += record.NextEntryOffset;
    }
}

// A message that cannot be posted is dropped.
void FolderWatcher::Worker::reportChange(DWORD action, const WideString& name) const {
    if (!equalsIgnoreCase(lowerExtension(name), TEXT("json"))) return;
    if (const UINT message = messageFor(action)) postText(target_, message, joinPath(folder_, name));
}

// Changes were lost: reports every file in the folder as added. A file that was removed meanwhile is not reported.
void FolderWatcher::Worker::reportAllFiles() const {
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(joinPath(folder_, TEXT("*.json")).c_str(), &entry));
    if (!search) return;
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            postText(target_, WM_APP_FILE_ADDED, joinPath(folder_, entry.cFileName));
    } while (FindNextFileW(search.get(), &entry) != 0);
}
