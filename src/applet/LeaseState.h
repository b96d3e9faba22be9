#pragma once

#include "applet/QueueLease.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {

// Goes in the reverse order: the lock, the folder, the store.
struct QueueLease::State {
    WideString pathOf(const WideString& name) const { return joinPath(queuePath, name); }
    QueueStore::Impl& files() const { return *store.impl(); }

    QueueStore store;
    WideString queuePath;
    OwnedHandle queueDirectory;
    OwnedHandle displayLock;
};

}  // namespace AppletNotes
