// The state behind QueueLease, for QueueLease.cpp and PrivateNotes.cpp only.
#pragma once

#include "applet/QueueLease.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {

// Members are released in reverse order: the lock, the folder, then the store.
struct QueueLease::State {
    WideString pathOf(const WideString& name) const { return joinPath(queuePath, name); }
    QueueStore::Impl& files() const { return *store.impl(); }

    QueueStore store;
    WideString queuePath;
    OwnedHandle queueDirectory;
    OwnedHandle displayLock;
};

}  // namespace AppletNotes
