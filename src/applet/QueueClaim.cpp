// QueueStore: the operations of a recovery pass. It lists the queues, measures one, and moves one to another logon.
// Main thread.
#include <objbase.h>

#include "applet/Error.h"
#include "applet/QueueName.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {
namespace {

// Ends a search: true if it found all entries and was closed without an error.
bool endSearch(DirectorySearch& search, bool soFar, DWORD& err) {
    const bool ended = soFar && (search.error() == ERROR_NO_MORE_FILES || fail(err, search.error()));
    return search.close(err) && ended;
}

bool listQueues(DirectorySearch& search, DWORD limit, std::vector<WideString>& names, bool& truncated, DWORD& err) {
    while (const WIN32_FIND_DATAW* entry = search.next()) {
        QueueName parsed;
        const bool isFolder = (entry->dwFileAttributes & kFolderOrLink) == FILE_ATTRIBUTE_DIRECTORY;
        if (!isFolder || !parseQueueName(entry->cFileName, parsed)) {
            err = ERROR_INVALID_DATA;
            return endSearch(search, false, err);
        }
        if (names.size() >= limit) {
            truncated = true;
            return search.close(err);
        }
        names.emplace_back(entry->cFileName);
    }
    return endSearch(search, true, err);
}

bool checkNote(const WIN32_FIND_DATAW& entry, const WideString& queuePath, PSID owner, DWORD& err) {
    const ULONGLONG size = sizeOf(entry);
    if (!isPrivateNoteName(entry.cFileName) || size == 0 || size > kMaxNoteBytes ||
        (entry.dwFileAttributes & kFolderOrLink) != 0)
        return fail(err, ERROR_INVALID_DATA);
    const OwnedHandle note = openExistingFile(joinPath(queuePath, entry.cFileName), READ_CONTROL | FILE_READ_ATTRIBUTES,
                                              FILE_SHARE_READ, err);
    return note && verifyHandle(note.get(), false, owner, err);
}

bool measureNotes(DirectorySearch& search, const WideString& queuePath, PSID owner, DWORD& count, ULONGLONG& bytes,
                  DWORD& err) {
    while (const WIN32_FIND_DATAW* entry = search.next()) {
        if (!checkNote(*entry, queuePath, owner, err)) return false;
        ++count;
        bytes += sizeOf(*entry);
        if (count > kMaxNotes || bytes > kMaxQueueBytes) return fail(err, ERROR_DISK_FULL);
    }
    return true;
}

// 32 upper-case hexadecimal digits.
bool makeClaimToken(WideString& token, DWORD& err) {
    GUID guid = {};
    const HRESULT result = CoCreateGuid(&guid);
    if (FAILED(result)) return fail(err, static_cast<DWORD>(result));
    const BYTE* tail = guid.Data4;
    token = formatWideString(TEXT("%08lX%04X%04X%02X%02X%02X%02X%02X%02X%02X%02X"), guid.Data1, guid.Data2, guid.Data3,
                             tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    return token.size() == 32 || fail(err, ERROR_INVALID_DATA);
}

ClaimResult busyOrFailed(bool busy) {
    return busy ? ClaimResult::Busy : ClaimResult::Failed;
}

}  // namespace

bool QueueStore::enumerateQueues(DWORD limit, std::vector<WideString>& names, bool& truncated, DWORD& err) const {
    names.clear();
    truncated = false;
    err = ERROR_SUCCESS;
    if (isEmpty() || limit == 0) return fail(err, ERROR_INVALID_PARAMETER);
    const OwnedHandle lifecycle = impl_->openLockFile(impl_->pathOf(kLifecycleLock), err);
    if (!lifecycle) return false;
    DirectorySearch search(impl_->pathOf(TEXT("applet-*")), kSearchCloseFailed);
    if (!search.isOpen()) return search.error() == ERROR_FILE_NOT_FOUND || fail(err, search.error());
    if (listQueues(search, limit, names, truncated, err)) return true;
    names.clear();
    return false;
}

bool QueueStore::measureQueue(const WideString& queueName, DWORD& count, ULONGLONG& bytes, DWORD& err) const {
    count = 0;
    bytes = 0;
    err = ERROR_SUCCESS;
    QueueName parsed;
    if (isEmpty() || !parseQueueName(queueName, parsed)) return fail(err, ERROR_INVALID_PARAMETER);
    const WideString path = impl_->pathOf(queueName);
    const OwnedHandle lifecycle = impl_->openLockFile(impl_->pathOf(kLifecycleLock), err);
    if (!lifecycle) return false;
    const OwnedHandle folder = openDirectory(path, READ_CONTROL, impl_->owner(), err);
    if (!folder) return false;
    const OwnedHandle writer = impl_->openLockFile(joinPath(path, kWriterLock), err);
    if (!writer) return false;
    DirectorySearch search(path + TEXT("\\*.json"), kQueueSearchCloseFailed);
    if (!search.isOpen()) return search.error() == ERROR_FILE_NOT_FOUND || fail(err, search.error());
    return endSearch(search, measureNotes(search, path, impl_->owner(), count, bytes, err), err);
}

ClaimResult QueueStore::claimQueue(const WideString& queueName, const LogonIdentity& identity,
                                   const OwnerLookup& ownerLookup, WideString& newName, DWORD& err) const {
    newName.clear();
    err = ERROR_SUCCESS;
    const WideString selfName = formatQueueName(identity);
    QueueName parsed;
    if (isEmpty() || !parseQueueName(queueName, parsed) || selfName.empty() || !ownerLookup) {
        err = ERROR_INVALID_PARAMETER;
        return ClaimResult::Failed;
    }
    const WideString path = impl_->pathOf(queueName);
    const OwnedHandle lifecycle = impl_->openLockFile(impl_->pathOf(kLifecycleLock), err);
    if (!lifecycle) return busyOrFailed(isBusy(err));
    // Fails while a display process has the folder open.
    const OwnedHandle folder = openDirectory(path, READ_CONTROL | DELETE, impl_->owner(), err);
    if (!folder) return busyOrFailed(isBusy(err));
    OwnedHandle writer = impl_->openLockFile(joinPath(path, kWriterLock), err);
    if (!writer) return busyOrFailed(isBusy(err));
    if (ownerLookup(parsed.identity) != OwnerState::Gone) return ClaimResult::OwnerNotGone;

    WideString token;
    if (!makeClaimToken(token, err)) return ClaimResult::Failed;
    const WideString claimedName = selfName + TEXT("-r-") + token;
    const WideString claimedPath = impl_->pathOf(claimedName);
    if (claimedPath.size() >= kMaxPathUnits) {
        err = ERROR_FILENAME_EXCED_RANGE;
        return ClaimResult::Failed;
    }
    RenameRequest rename(claimedPath, false);
    // A folder that holds an open file cannot be renamed.
    if (!closeChecked(writer, err)) return ClaimResult::Failed;
    if (!rename.apply(folder.get(), err)) return busyOrFailed(isBusy(err) || err == ERROR_ACCESS_DENIED);
    newName = claimedName;
    return ClaimResult::Claimed;
}

}  // namespace AppletNotes
