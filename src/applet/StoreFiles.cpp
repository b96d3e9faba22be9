// Opens and verifies the files and folders of the store, and builds the security descriptor for new ones. Every
// operation of the applet folder uses it, on the main thread.
#include "applet/StoreFiles.h"

#include <aclapi.h>

#include <algorithm>
#include <cstring>

#include "applet/AccessRule.h"
#include "applet/Error.h"

namespace AppletNotes {
namespace {

bool verifyOwner(HANDLE handle, PSID wanted, DWORD& err) {
    PSID owner = nullptr;
    PACL acl = nullptr;
    LocalBlock descriptor;
    err = GetSecurityInfo(handle, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                          nullptr, &acl, nullptr, descriptor.put());
    if (err != ERROR_SUCCESS) return false;
    return allowsOwnerOnly(owner, acl, wanted) || fail(err, ERROR_ACCESS_DENIED);
}

OwnedHandle verified(OwnedHandle handle, bool expectDirectory, PSID ownerSid, DWORD& err) {
    if (!handle) {
        err = GetLastError();
        return handle;
    }
    if (!verifyHandle(handle.get(), expectDirectory, ownerSid, err)) handle.reset();
    return handle;
}

bool isAcceptableComponent(WideView name) {
    if (name.empty() || name == TEXT(".") || name == TEXT("..")) return false;
    if (name.find_first_of(TEXT("/:*?\"<>|")) != WideView::npos) return false;
    return name.back() != TEXT('.') && name.back() != TEXT(' ');
}

bool isStoreRoot(WideView path) {
    if (path.size() < 4 || path.size() >= kMaxPathUnits) return false;
    const WCHAR drive = path[0];
    const bool isDrive = (drive >= TEXT('A') && drive <= TEXT('Z')) || (drive >= TEXT('a') && drive <= TEXT('z'));
    return isDrive && path[1] == TEXT(':') && path[2] == TEXT('\\') && path.back() != TEXT('\\');
}

}  // namespace

bool readOwnPath(WideString& path, DWORD& err) {
    WCHAR buffer[kMaxPathUnits];
    const DWORD length = GetModuleFileNameW(nullptr, buffer, kMaxPathUnits);
    if (length == 0) return failWithLastError(err);
    if (length >= kMaxPathUnits) return fail(err, ERROR_FILENAME_EXCED_RANGE);
    path.assign(buffer, length);
    return true;
}

bool verifyHandle(HANDLE handle, bool expectDirectory, PSID ownerSid, DWORD& err) {
    BY_HANDLE_FILE_INFORMATION info = {};
    if (!GetFileInformationByHandle(handle, &info)) return failWithLastError(err);
    const bool isDirectory = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || isDirectory != expectDirectory)
        return fail(err, ERROR_ACCESS_DENIED);
    if (!isDirectory && info.nNumberOfLinks != 1) return fail(err, ERROR_ACCESS_DENIED);
    return ownerSid == nullptr || verifyOwner(handle, ownerSid, err);
}

OwnedHandle openDirectory(const WideString& path, DWORD extraAccess, PSID ownerSid, DWORD& err) {
    OwnedHandle handle(CreateFileW(path.c_str(), extraAccess | FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return verified(std::move(handle), true, ownerSid, err);
}

OwnedHandle openExistingFile(const WideString& path, DWORD access, DWORD shareMode, DWORD& err) {
    OwnedHandle handle(
        CreateFileW(path.c_str(), access, shareMode, nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!handle) err = GetLastError();
    return handle;
}

RenameRequest::RenameRequest(const WideString& newPath, bool replace)
    : size_(static_cast<DWORD>(sizeof(FILE_RENAME_INFO) + newPath.size() * sizeof(WCHAR))),
      buffer_(size_ / sizeof(ULONGLONG) + 1) {
    auto* const request = reinterpret_cast<FILE_RENAME_INFO*>(buffer_.data());
    request->ReplaceIfExists = replace;
    request->FileNameLength = static_cast<DWORD>(newPath.size() * sizeof(WCHAR));
    std::memcpy(request->FileName, newPath.data(), request->FileNameLength);
}

bool RenameRequest::apply(HANDLE handle, DWORD& err) {
    return SetFileInformationByHandle(handle, FileRenameInfo, buffer_.data(), size_) || failWithLastError(err);
}

bool deleteHandle(HANDLE handle, DWORD& err) {
    FILE_DISPOSITION_INFO request = {};
    request.DeleteFile = TRUE;
    return SetFileInformationByHandle(handle, FileDispositionInfo, &request, sizeof request) || failWithLastError(err);
}

QueueStore::Impl::Impl() {
    storeAttributes.nLength = sizeof storeAttributes;
    storeAttributes.lpSecurityDescriptor = &storeDescriptor;
    storeAttributes.bInheritHandle = FALSE;
}

bool QueueStore::Impl::open(const WideString& path, PSID sid, bool createRoot, DWORD& err) {
    if (!isStoreRoot(path) || !isUsable(sid)) return fail(err, ERROR_INVALID_PARAMETER);
    userSid.assign(static_cast<BYTE*>(sid), static_cast<BYTE*>(sid) + GetLengthSid(sid));
    rootPath = path;
    if (!makeDescriptor(err) || !pinFolders(createRoot, err)) return false;
    err = ERROR_SUCCESS;
    return true;
}

bool QueueStore::Impl::makeDescriptor(DWORD& err) {
    EXPLICIT_ACCESSW entry = {};
    entry.grfAccessPermissions = FILE_ALL_ACCESS;
    entry.grfAccessMode = SET_ACCESS;
    entry.grfInheritance = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_USER;
    entry.Trustee.ptstrName = static_cast<LPWSTR>(owner());
    PACL acl = nullptr;
    err = SetEntriesInAclW(1, &entry, nullptr, &acl);
    storeAcl.reset(acl);
    if (err != ERROR_SUCCESS) return false;
    const bool made = InitializeSecurityDescriptor(&storeDescriptor, SECURITY_DESCRIPTOR_REVISION) &&
                      SetSecurityDescriptorOwner(&storeDescriptor, owner(), FALSE) &&
                      SetSecurityDescriptorDacl(&storeDescriptor, TRUE, acl, FALSE) &&
                      SetSecurityDescriptorControl(&storeDescriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
    return made || failWithLastError(err);
}

// The folders above the root belong to the system: they must be folders, not links, but their owner is not checked.
bool QueueStore::Impl::pinFolders(bool createRoot, DWORD& err) {
    constexpr std::size_t kDriveUnits = 3;
    const auto pin = [&](OwnedHandle folder) {
        if (!folder) return false;
        pinnedDirectories.push_back(std::move(folder));
        return true;
    };
    if (!pin(openDirectory(rootPath.substr(0, kDriveUnits), 0, nullptr, err))) return false;
    for (std::size_t begin = kDriveUnits; begin <= rootPath.size();) {
        const std::size_t end = std::min(rootPath.find(TEXT('\\'), begin), rootPath.size());
        if (!isAcceptableComponent(WideView(rootPath).substr(begin, end - begin))) return fail(err, ERROR_BAD_PATHNAME);
        const WideString folder = rootPath.substr(0, end);
        const bool isRoot = end == rootPath.size();
        if (isRoot && createRoot && !CreateDirectoryW(folder.c_str(), &storeAttributes) &&
            GetLastError() != ERROR_ALREADY_EXISTS)
            return failWithLastError(err);
        if (!pin(isRoot ? openDirectory(folder, READ_CONTROL, owner(), err) : openDirectory(folder, 0, nullptr, err)))
            return false;
        begin = end + 1;
    }
    return true;
}

OwnedHandle QueueStore::Impl::openLockFile(const WideString& path, DWORD& err) {
    OwnedHandle handle(CreateFileW(path.c_str(), GENERIC_READ | READ_CONTROL, 0, &storeAttributes, OPEN_ALWAYS,
                                   FILE_FLAG_OPEN_REPARSE_POINT | FILE_ATTRIBUTE_NORMAL, nullptr));
    return verified(std::move(handle), false, owner(), err);
}

DirectorySearch::DirectorySearch(const WideString& pattern, const WCHAR* closeFailure)
    : closeFailure_(closeFailure), search_(FindFirstFileW(pattern.c_str(), &entry_)) {
    if (!isOpen()) error_ = GetLastError();
}

DirectorySearch::~DirectorySearch() {
    DWORD err = ERROR_SUCCESS;
    if (!close(err)) OutputDebugStringW(closeFailure_);
}

const WIN32_FIND_DATAW* DirectorySearch::next() {
    if (!isOpen()) return nullptr;
    if (!isFirst_ && !FindNextFileW(search_, &entry_)) {
        error_ = GetLastError();
        return nullptr;
    }
    isFirst_ = false;
    return &entry_;
}

bool DirectorySearch::close(DWORD& err) {
    if (!isOpen()) return true;
    const HANDLE search = search_;
    search_ = INVALID_HANDLE_VALUE;
    return FindClose(search) || failWithLastError(err);
}

}  // namespace AppletNotes
