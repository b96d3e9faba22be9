// QueueStore: opening the store, and the clean-up when it is empty. Called for the applet roles, on the main thread.
#include "applet/QueueStore.h"

#include <algorithm>

#include "applet/Error.h"
#include "applet/QueueName.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {
namespace {

constexpr DWORD kMaxEntries = 4096;  // in the store root

bool isOneOf(WideView name, std::initializer_list<WideView> names) {
    return std::any_of(names.begin(), names.end(), [&](WideView other) { return sameText(name, other); });
}

// Whether the queue's folder contains lock files only.
bool isQueueEmpty(const WideString& queuePath, DWORD& err) {
    DirectorySearch search(queuePath + TEXT("\\*"), kSearchCloseFailed);
    if (!search.isOpen()) return fail(err, search.error());
    while (const WIN32_FIND_DATAW* entry = search.next())
        if (!isOneOf(entry->cFileName, {TEXT("."), TEXT(".."), kWriterLock, kDisplayLock})) return false;
    return search.error() == ERROR_NO_MORE_FILES || fail(err, search.error());
}

// False with `err` 0 when the entry is a queue that is not empty. The display lock is not taken: the caller may hold
// it.
bool isEntryEmpty(QueueStore::Impl& store, const WideString& name, DWORD& err) {
    const WideString path = store.pathOf(name);
    const OwnedHandle folder = openDirectory(path, READ_CONTROL, store.owner(), err);
    if (!folder) return false;
    if (name == TEXT("runtime")) return true;
    QueueName parsed;
    if (!parseQueueName(name, parsed)) return fail(err, ERROR_INVALID_DATA);
    const OwnedHandle writer = store.openLockFile(joinPath(path, kWriterLock), err);
    return writer && isQueueEmpty(path, err);
}

bool isStoreEmpty(QueueStore::Impl& store, DWORD& err) {
    DirectorySearch search(store.pathOf(TEXT("*")), kSearchCloseFailed);
    if (!search.isOpen()) return fail(err, search.error());
    DWORD count = 0;
    while (const WIN32_FIND_DATAW* entry = search.next()) {
        const WideString name = entry->cFileName;
        if (isOneOf(name, {TEXT("."), TEXT(".."), kLifecycleLock, kRecoveryLock})) continue;
        if (++count > kMaxEntries) return fail(err, ERROR_MORE_DATA);
        if (!isEntryEmpty(store, name, err)) return false;
    }
    return search.error() == ERROR_NO_MORE_FILES || fail(err, search.error());
}

}  // namespace

bool QueueStore::open(const WideString& rootPath, PSID userSid, bool createRoot, DWORD& err) {
    impl_.reset();
    auto opened = std::make_shared<Impl>();
    if (!opened->open(rootPath, userSid, createRoot, err)) return false;
    impl_ = std::move(opened);
    return true;
}

bool QueueStore::cleanupEmptyStore(const StartupEntryRemoval& removeEntry, DWORD& err) const {
    err = ERROR_SUCCESS;
    if (isEmpty() || !removeEntry) return fail(err, ERROR_INVALID_PARAMETER);
    const OwnedHandle lifecycle = impl_->openLockFile(impl_->pathOf(kLifecycleLock), err);
    if (!lifecycle || !isStoreEmpty(*impl_, err)) return false;
    err = removeEntry();
    return err == ERROR_SUCCESS;
}

}  // namespace AppletNotes
