// Opening and verifying the files and folders of a store, and the folders above an executable.
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
constexpr std::size_t kMaxPathUnits = 260;  // the paths in calls must be shorter

// The full path of this process's image. ERROR_FILENAME_EXCED_RANGE if it has 260 units or more.
bool readOwnPath(WideString& path, DWORD& err);

// Verifies an open handle: it is a folder, or a file with one link, as expected, and not a reparse point. If `ownerSid`
// is not null, it must also be owned by that user and allow nobody else access.
bool verifyHandle(HANDLE handle, bool expectDirectory, PSID ownerSid, DWORD& err);

// Opens a folder so that nobody can rename or delete it meanwhile, and verifies it. `extraAccess` needs READ_CONTROL if
// `ownerSid` is not null, and DELETE to rename the folder. Empty on failure.
OwnedHandle openDirectory(const WideString& path, DWORD extraAccess, PSID ownerSid, DWORD& err);

// Opens an existing file, or the link itself if it is one. The handle is not verified.
OwnedHandle openExistingFile(const WideString& path, DWORD access, DWORD shareMode, DWORD& err);

// The argument with which SetFileInformationByHandle renames to a full path. Built before the rename, so that the
// rename itself allocates nothing.
class RenameRequest {
  public:
    RenameRequest(const WideString& newPath, bool replace);
    // The open file or folder needs DELETE access.
    bool apply(HANDLE handle, DWORD& err);

  private:
    DWORD size_;
    std::vector<ULONGLONG> buffer_;  // an aligned FILE_RENAME_INFO followed by the path
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

    // Takes a lock of the store or of a queue; creates the lock file if it is missing. Empty on failure.
    OwnedHandle openLockFile(const WideString& path, DWORD& err);

    WideString rootPath;
    SidBytes userSid;
    std::vector<OwnedHandle> pinnedDirectories;  // from the drive's root to the store's root
    LocalBlock storeAcl;
    SECURITY_DESCRIPTOR storeDescriptor = {};
    SECURITY_ATTRIBUTES storeAttributes = {};  // for new objects: owned by the user, access for the user only

  private:
    bool makeDescriptor(DWORD& err);
    bool pinFolders(bool createRoot, DWORD& err);
};

constexpr DWORD kFolderOrLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;

inline ULONGLONG sizeOf(const WIN32_FIND_DATAW& entry) {
    return (ULONGLONG{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow;
}

// Lists the entries of a folder. If FindClose fails in the destructor, a debug line says so.
class DirectorySearch {
  public:
    explicit DirectorySearch(const WideString& pattern, const WCHAR* closeFailure);
    ~DirectorySearch();
    DirectorySearch(const DirectorySearch&) = delete;
    DirectorySearch& operator=(const DirectorySearch&) = delete;

    // The next entry, valid until the next call; null at the end and on failure: error() says which.
    const WIN32_FIND_DATAW* next();
    // Why there is no next entry: ERROR_NO_MORE_FILES at the end.
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
