// Opening and verifying what lies in a store, and on the way to an image.
#pragma once

#include <vector>

#include "applet/OwnedHandle.h"
#include "applet/QueueStore.h"
#include "common/Paths.h"

namespace AppletNotes {

constexpr const WCHAR* kLifecycleLock = TEXT(".lifecycle.lock");
constexpr const WCHAR* kRecoveryLock = TEXT(".recovery.lock");
constexpr const WCHAR* kWriterLock = TEXT(".writer.lock");
constexpr const WCHAR* kDisplayLock = TEXT(".display.lock");
constexpr std::size_t kMaxPathUnits = 260;  // a full path that a call names is shorter

// The full path of this process's image. False with ERROR_FILENAME_EXCED_RANGE when it has 260 units or more.
bool readOwnPath(WideString& path, DWORD& err);

// Whether the handle is a folder or a plain file with one link, and no reparse point; and with an owner given, whether
// the object is the owner's and allows nobody else anything.
bool verifyHandle(HANDLE handle, bool expectDirectory, PSID ownerSid, DWORD& err);

// Opens a folder to stay where it is: nobody can rename or delete it meanwhile. `extraAccess` is READ_CONTROL where an
// owner is given, and DELETE besides to rename the folder. No handle on failure.
OwnedHandle openDirectory(const WideString& path, DWORD extraAccess, PSID ownerSid, DWORD& err);

// An existing file, opened as itself and never through a link. Not verified.
OwnedHandle openExistingFile(const WideString& path, DWORD access, DWORD shareMode, DWORD& err);

// What SetFileInformationByHandle takes to rename to a full path: made first, so that the rename itself needs nothing.
class RenameRequest {
  public:
    RenameRequest(const WideString& newPath, bool replace);
    // The open file or folder needs DELETE access.
    bool apply(HANDLE handle, DWORD& err);

  private:
    DWORD size_;
    std::vector<ULONGLONG> buffer_;  // a FILE_RENAME_INFO, aligned, and the path
};
// Deletes the open file when its last handle closes.
bool deleteHandle(HANDLE handle, DWORD& err);

struct QueueStore::Impl {
    Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool open(const WideString& path, PSID sid, bool createRoot, DWORD& err);
    PSID owner() const { return sidOf(userSid); }
    WideString pathOf(const WideString& name) const { return joinPath(rootPath, name); }

    // Takes the lock of the store or of a queue, making its file on first use. No handle on failure.
    OwnedHandle openLockFile(const WideString& path, DWORD& err);

    WideString rootPath;
    SidBytes userSid;
    std::vector<OwnedHandle> pinnedDirectories;  // the drive's root first, the store's last
    LocalBlock storeAcl;
    SECURITY_DESCRIPTOR storeDescriptor = {};
    SECURITY_ATTRIBUTES storeAttributes = {};  // for new objects: the user's, and nobody else's

  private:
    bool makeDescriptor(DWORD& err);
    bool pinFolders(bool createRoot, DWORD& err);
};

constexpr DWORD kFolderOrLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;

inline ULONGLONG sizeOf(const WIN32_FIND_DATAW& entry) {
    return (ULONGLONG{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow;
}

// The entries of a folder. If FindClose fails in the destructor, a debug line says so.
class DirectorySearch {
  public:
    explicit DirectorySearch(const WideString& pattern, const WCHAR* closeFailure);
    ~DirectorySearch();
    DirectorySearch(const DirectorySearch&) = delete;
    DirectorySearch& operator=(const DirectorySearch&) = delete;

    // The next entry, valid until the call after; null at the end, which error() tells from a failure.
    const WIN32_FIND_DATAW* next();
    // Why there is no further entry: ERROR_NO_MORE_FILES at the end of a search that found something.
    DWORD error() const { return error_; }
    bool isOpen() const { return search_ != INVALID_HANDLE_VALUE; }
    bool close(DWORD& err);

  private:
    const WCHAR* closeFailure_;
    WIN32_FIND_DATAW entry_ = {};
    HANDLE search_;
    DWORD error_ = ERROR_SUCCESS;
    bool isFirst_ = true;
};

constexpr const WCHAR* kSearchCloseFailed = TEXT("AppletNotes: directory search close failed\n");
constexpr const WCHAR* kQueueSearchCloseFailed = TEXT("AppletNotes: queue search close failed\n");

}  // namespace AppletNotes
