// Tells a window of every .json file of one folder that appears, changes or goes away. It decides nothing about notes:
// it opens no file, compares nothing, delays and merges nothing.
//
// The worker is a thread of its own. It waits for the folder (a try each second, for as long as it takes), reads its
// changes, or hands a batch of them on; in each state the stop event takes it out. It shares four fields with the
// thread that starts and stops it, all fixed while it runs, and reaches the window by posting messages only. Whoever
// gets a message owns its text (common/Messages.h).
#pragma once

#include <vector>

#include "common/Handles.h"
#include "common/WideText.h"

class FolderWatcher {
  public:
    FolderWatcher() = default;
    ~FolderWatcher() { stop(); }
    FolderWatcher(const FolderWatcher&) = delete;
    FolderWatcher& operator=(const FolderWatcher&) = delete;

    // Starts the worker. `target` gets WM_APP_FILE_ADDED for what appears or changes and WM_APP_FILE_REMOVED for what
    // goes away. The folder need not exist. False, with nothing changed, when it runs already, or when the system has
    // no event or thread to give.
    bool start(const WideString& folder, HWND target);

    // Ends the worker; does nothing when none runs. Waits for it at most 5 seconds: a worker that is still busy then
    // goes on without its handles until its next look at them.
    void stop();

  private:
    // What the worker holds while the folder is open. The system writes into the first two for as long as a read is
    // pending, which ends with the directory's handle at the latest: they outlive it.
    struct Reading {
        std::vector<DWORD> buffer;  // records are aligned to DWORDs
        OVERLAPPED overlapped = {};
        FileHandle directory;
        WaitHandle done;
    };

    static unsigned WINAPI threadMain(void* self);
    void work() const;
    void readChanges(Reading& reading) const;
    bool isStopped(DWORD milliseconds) const;
    void reportRecords(const BYTE* buffer) const;
    void reportChange(DWORD action, const WideString& name) const;
    void reportAllFiles() const;

    WideString folder_;
    HWND target_ = nullptr;
    WaitHandle worker_;
    WaitHandle stopEvent_;
};
