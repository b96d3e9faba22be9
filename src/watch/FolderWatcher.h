// Tells a window of every .json file of one folder that appears, changes or goes away. It decides nothing about notes:
// it opens no file, compares nothing, delays and merges nothing.
//
// The worker is a thread of its own. It waits for a folder that cannot be opened or read (a try each second, for as
// long as it takes), reads its changes, or hands a batch of them on; in each state the stop event takes it out. What it
// works with is fixed while it runs and owned by the worker and the watcher together, so that a worker which a slow
// folder holds up beyond the patience of stop() finds everything in place when it comes back. It reaches the window by
// posting messages only; whoever gets a message owns its text (common/Messages.h).
#pragma once

#include <memory>

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

    // Ends the worker, and waits for its end for at most 5 seconds. Does nothing when none runs.
    void stop();

  private:
    class Worker;
    static unsigned WINAPI threadMain(void* worker);

    std::shared_ptr<Worker> worker_;
    KernelHandle thread_;
};
