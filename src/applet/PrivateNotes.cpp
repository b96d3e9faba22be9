// QueueLease: reading, replacing and removing the notes of a queue. Called by the App on the main thread. Each write
// takes the lifecycle lock and the writer lock; nothing waits for a lock.
#include <objbase.h>

#include "applet/Error.h"
#include "applet/LeaseState.h"
#include "applet/QueueName.h"
#include "common/WriteAll.h"

namespace AppletNotes {
namespace {

constexpr DWORD kShareReadDelete = FILE_SHARE_READ | FILE_SHARE_DELETE;

// The locks that keep out other operations on the store, and the writer of the queue.
struct NoteLocks {
    OwnedHandle lifecycle;
    OwnedHandle writer;

    bool take(QueueStore::Impl& store, const WideString& queuePath, DWORD& err) {
        lifecycle = store.openLockFile(store.pathOf(kLifecycleLock), err);
        if (lifecycle) writer = store.openLockFile(joinPath(queuePath, kWriterLock), err);
        return static_cast<bool>(writer);
    }
};

bool readWhole(HANDLE file, std::string& bytes, DWORD& err) {
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file, &size)) return failWithLastError(err);
    if (size.QuadPart <= 0 || static_cast<ULONGLONG>(size.QuadPart) > kMaxNoteBytes)
        return fail(err, ERROR_FILE_TOO_LARGE);
    std::string buffer(static_cast<std::size_t>(size.QuadPart), '\0');
    for (std::size_t at = 0; at < buffer.size();) {
        DWORD moved = 0;
        if (!ReadFile(file, buffer.data() + at, static_cast<DWORD>(buffer.size() - at), &moved, nullptr))
            return failWithLastError(err);
        if (moved == 0) return fail(err, ERROR_HANDLE_EOF);
        at += moved;
    }
    bytes = std::move(buffer);
    return true;
}

bool writeFlushed(HANDLE file, const std::string& bytes, DWORD& err) {
    return (writeAll(file, bytes) && FlushFileBuffers(file)) || failWithLastError(err);
}

// Whether the queue stays within its limits if the note takes `newSize` bytes.
bool fitsQueue(const WideString& queuePath, const WideString& fileName, ULONGLONG newSize, DWORD& err) {
    const WideString pattern = queuePath + TEXT("\\*.json");
    WIN32_FIND_DATAW entry = {};
    FindHandle search(FindFirstFileW(pattern.c_str(), &entry));
    if (!search) return failWithLastError(err);
    ULONGLONG sum = newSize;
    DWORD count = 0;
    do {
        ++count;
        if (!equalsIgnoreCase(entry.cFileName, fileName)) sum += sizeOf(entry);
        if (count > kMaxNotes || sum > kMaxQueueBytes || (entry.dwFileAttributes & kFolderOrLink) != 0)
            return fail(err, ERROR_DISK_FULL);
    } while (FindNextFileW(search.get(), &entry));
    if (GetLastError() != ERROR_NO_MORE_FILES) return failWithLastError(err);
    return FindClose(search.release()) || failWithLastError(err);
}

// "{GUID}.tmp"
bool temporaryName(WideString& name, DWORD& err) {
    GUID guid = {};
    const HRESULT result = CoCreateGuid(&guid);
    if (FAILED(result)) return fail(err, static_cast<DWORD>(result));
    WCHAR text[40];
    if (StringFromGUID2(guid, text, 40) == 0) return fail(err, ERROR_INVALID_DATA);
    name = WideString(text) + TEXT(".tmp");
    return true;
}

// Writes the bytes to a temporary file and renames it over the note. `note` keeps the old note open, so that nobody can
// replace it; it is closed just before the rename.
bool replaceNote(QueueStore::Impl& store, const WideString& temporary, const WideString& path, const std::string& bytes,
                 OwnedHandle note, DWORD& err) {
    RenameRequest rename(path, true);
    OwnedHandle file(CreateFileW(temporary.c_str(), GENERIC_WRITE | DELETE, 0, &store.storeAttributes, CREATE_NEW,
                                 FILE_FLAG_OPEN_REPARSE_POINT | FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return failWithLastError(err);
    if (writeFlushed(file.get(), bytes, err) && closeChecked(note, err) && rename.apply(file.get(), err))
        return closeChecked(file, err);
    DWORD ignored = ERROR_SUCCESS;
    if (!deleteHandle(file.get(), ignored))
        OutputDebugStringW(TEXT("AppletNotes: failed to remove incomplete helper update\n"));
    return false;
}

}  // namespace

bool QueueLease::readNote(const WideString& fileName, std::string& bytes, DWORD& err) const {
    bytes.clear();
    err = ERROR_SUCCESS;
    if (!active() || !isPrivateNoteName(fileName)) return fail(err, ERROR_INVALID_PARAMETER);
    const OwnedHandle note =
        openExistingFile(state_->pathOf(fileName), GENERIC_READ | READ_CONTROL, kShareReadDelete, err);
    return note && verifyHandle(note.get(), false, state_->files().owner(), err) && readWhole(note.get(), bytes, err);
}

bool QueueLease::updateNote(const WideString& fileName, const std::string& bytes, DWORD& err) const {
    err = ERROR_SUCCESS;
    if (!active() || !isPrivateNoteName(fileName) || bytes.empty() || bytes.size() > kMaxNoteBytes)
        return fail(err, ERROR_INVALID_PARAMETER);
    QueueStore::Impl& files = state_->files();
    NoteLocks locks;
    if (!locks.take(files, state_->queuePath, err)) return false;
    const WideString path = state_->pathOf(fileName);
    OwnedHandle note = openExistingFile(path, READ_CONTROL | FILE_READ_ATTRIBUTES, kShareReadDelete, err);
    if (!note || !verifyHandle(note.get(), false, files.owner(), err)) return false;
    if (!fitsQueue(state_->queuePath, fileName, bytes.size(), err)) return false;
    WideString name;
    if (!temporaryName(name, err)) return false;
    const WideString temporary = state_->pathOf(name);
    if (temporary.size() >= kMaxPathUnits || path.size() >= kMaxPathUnits) return fail(err, ERROR_FILENAME_EXCED_RANGE);
    return replaceNote(files, temporary, path, bytes, std::move(note), err);
}

bool QueueLease::removeNote(const WideString& fileName, DWORD& err) const {
    err = ERROR_SUCCESS;
    if (!active() || !isPrivateNoteName(fileName)) return fail(err, ERROR_INVALID_PARAMETER);
    QueueStore::Impl& files = state_->files();
    NoteLocks locks;
    if (!locks.take(files, state_->queuePath, err)) return false;
    OwnedHandle note =
        openExistingFile(state_->pathOf(fileName), DELETE | READ_CONTROL | FILE_READ_ATTRIBUTES, FILE_SHARE_READ, err);
    if (!note) {
        if (err != ERROR_FILE_NOT_FOUND) return false;
        err = ERROR_SUCCESS;
        return true;
    }
    return verifyHandle(note.get(), false, files.owner(), err) && deleteHandle(note.get(), err) &&
           closeChecked(note, err);
}

}  // namespace AppletNotes
