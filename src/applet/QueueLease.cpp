// Taking a lease. App::startApplet calls open, on the main thread. PrivateNotes.cpp has the access to the notes.
#include "applet/QueueLease.h"

#include "applet/Error.h"
#include "applet/LeaseState.h"
#include "applet/QueueName.h"
#include "applet/StartupEntry.h"

namespace AppletNotes {

QueueLease::QueueLease() = default;
QueueLease::QueueLease(QueueLease&&) noexcept = default;
QueueLease& QueueLease::operator=(QueueLease&&) noexcept = default;
QueueLease::~QueueLease() = default;

bool QueueLease::open(const QueueStore& store, const WideString& queueName, const LogonIdentity& identity,
                      QueueLease& lease, DWORD& err) {
    err = ERROR_SUCCESS;
    QueueName parsed;
    if (lease.active() || store.isEmpty() || !parseQueueName(queueName, parsed) || !isValid(parsed.identity) ||
        !isValid(identity) || !(parsed.identity == identity))
        return fail(err, ERROR_ACCESS_DENIED);
    QueueStore::Impl& files = *store.impl();
    const OwnedHandle lifecycle = files.openLockFile(files.pathOf(kLifecycleLock), err);
    if (!lifecycle) return false;
    const WideString path = files.pathOf(queueName);
    OwnedHandle folder = openDirectory(path, READ_CONTROL, files.owner(), err);
    if (!folder) return false;
    OwnedHandle display = files.openLockFile(joinPath(path, kDisplayLock), err);
    if (!display) return false;
    lease.state_ = std::make_unique<State>(State{store, path, std::move(folder), std::move(display)});
    return true;
}

bool QueueLease::cleanupStartup(DWORD& err) const {
    if (!active()) return fail(err, ERROR_INVALID_HANDLE);
    const QueueStore store = state_->store;
    return store.cleanupEmptyStore([&] { return removeStartupEntry(store.impl()->rootPath); }, err);
}

}  // namespace AppletNotes
