// Posts a message to a window for every .json file of one folder that appears, changes or goes away. It opens no file,
// compares nothing, and neither delays nor merges messages.
//
// The worker has its own thread. It either waits to reopen a folder that cannot be opened or read (one try each second,
// without end), waits for changes, or posts a batch of them. The stop event ends it in each state. Its data is constant
// while it runs and shared with the watcher: if stop() gives up waiting for a worker that is blocked in a slow folder,
// the worker still finds its data when it goes on. It reaches the window by posted messages only; who owns their text
// is described in common/Messages.h.
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

    // Starts the worker. `target` gets WM_APP_FILE_ADDED for a file that appears or changes and WM_APP_FILE_REMOVED for
    // one that goes away. The folder need not exist. False, with nothing changed, if a worker is running or the system
    // cannot create an event or a thread.
    bool start(const WideString& folder, HWND target);

    // Stops the worker and waits at most 5 seconds for its end. Does nothing when none is running.
    void stop();

  private:
    class Worker;
    static unsigned WINAPI threadMain(void* worker);

    std::shared_ptr<Worker> worker_;
    KernelHandle thread_;
};
