// Posts a message to a window for every .json file of one folder that appears, changes or disappears. It opens no file,
// compares nothing, and neither delays nor merges messages.
//
// The worker has its own thread. It is in one of three states: it waits a second before it opens the folder again
// (after a failure, as often as needed), it waits for changes, or it posts a batch of them. The stop event ends it in
// each state.
//
// Its data is constant while it runs and shared with the watcher. So if stop() gives up waiting for a worker that is
// blocked in a slow folder, the worker still finds its data later. The worker reaches the window by posted messages
// only; common/Messages.h says who owns their text.
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
    // one that disappears. The folder need not exist. False, with nothing changed, if a worker is running or the system
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
