// Queries and changes files and folders through their handles.
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstring>

#include "core/Error.h"
#include "core/Gate.h"
#include "files/FileObject.h"
#include "files/FileTimes.h"
#include "files/Moves.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

// A link has the type of its target. `native` is the path of the link.
DWORD attributesOf(struct stat status, const std::string& native) {
    const bool isLink = S_ISLNK(status.st_mode);
    struct stat target;
    if (isLink && stat(native.c_str(), &target) == 0) status = target;
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
    if (isLink) attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (S_ISREG(status.st_mode) && (status.st_mode & 0222) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes;
}

BY_HANDLE_FILE_INFORMATION informationOf(const struct stat& status, DWORD attributes) {
    const ULONGLONG size = S_ISREG(status.st_mode) ? static_cast<ULONGLONG>(status.st_size) : 0;
    BY_HANDLE_FILE_INFORMATION information = {};
    information.dwFileAttributes = attributes;
    information.ftCreationTime = fileTimeOf(status.st_ctim);
    information.ftLastAccessTime = fileTimeOf(status.st_atim);
    information.ftLastWriteTime = fileTimeOf(status.st_mtim);
    information.dwVolumeSerialNumber = static_cast<DWORD>(status.st_dev);
    information.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    information.nFileSizeLow = static_cast<DWORD>(size);
    information.nNumberOfLinks = S_ISDIR(status.st_mode) ? 1 : static_cast<DWORD>(status.st_nlink);
    information.nFileIndexHigh = static_cast<DWORD>(status.st_ino >> 32);
    information.nFileIndexLow = static_cast<DWORD>(status.st_ino);
    return information;
}

// Reads the target, a full path, from the request. The request states the length of the path.
bool renameTo(const OpenItem& item, const BYTE* request, DWORD byteCount) {
    constexpr DWORD kNameAt = offsetof(FILE_RENAME_INFO, FileName);
    FILE_RENAME_INFO head = {};
    if (byteCount < sizeof head) return refuse(ERROR_BAD_LENGTH);
    std::memcpy(&head, request, kNameAt);
    if (head.RootDirectory != nullptr || head.FileNameLength == 0 || head.FileNameLength > byteCount - kNameAt)
        return refuse(ERROR_INVALID_PARAMETER);
    std::u16string target(head.FileNameLength / sizeof(WCHAR), 0);
    std::memcpy(target.data(), request + kNameAt, target.size() * sizeof(WCHAR));
    std::string native;
    return nativePath(target.c_str(), native) && renameItem(item, native, head.ReplaceIfExists != 0);
}

// Marks a file for deletion. Folders are not supported.
bool dispose(const std::shared_ptr<OpenItem>& item, const BYTE* request, DWORD byteCount) {
    const auto file = std::dynamic_pointer_cast<FileObject>(item);
    struct stat status;
    if (byteCount < sizeof(FILE_DISPOSITION_INFO)) return refuse(ERROR_BAD_LENGTH);
    if (file == nullptr || fstat(file->descriptor.get(), &status) != 0) return refuse(ERROR_INVALID_PARAMETER);
    if ((status.st_mode & 0222) == 0) return refuse(ERROR_ACCESS_DENIED);
    file->isDoomed = *request != 0;
    return true;
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD GetFileAttributesW(LPCWSTR path) {
    static constinit CallSite site{__func__};
    std::string native;
    struct stat status;
    if (site.fails() || !nativePath(path, native)) return INVALID_FILE_ATTRIBUTES;
    if (lstat(native.c_str(), &status) == 0) return attributesOf(status, native);
    setFileError(errno, native);
    return INVALID_FILE_ATTRIBUTES;
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto file = find<FileObject>(handle);
    struct stat status;
    if (file == nullptr) return FALSE;
    if (fstat(file->descriptor.get(), &status) != 0) return setFileError(errno, "/");
    size->QuadPart = status.st_size;
    return TRUE;
}

BOOL GetFileInformationByHandle(HANDLE handle, LPBY_HANDLE_FILE_INFORMATION information) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto item = findItem(handle, FILE_READ_ATTRIBUTES);
    struct stat status;
    if (item == nullptr) return FALSE;
    if (fstat(item->descriptor.get(), &status) != 0) return refuse(ERROR_GEN_FAILURE);
    const auto link = std::dynamic_pointer_cast<LinkObject>(item);
    *information = informationOf(status, attributesOf(status, link == nullptr ? std::string() : link->path));
    return TRUE;
}

BOOL SetFileInformationByHandle(HANDLE handle, FILE_INFO_BY_HANDLE_CLASS what, LPVOID information, DWORD byteCount) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto item = findItem(handle, DELETE);
    if (item == nullptr) return FALSE;
    const BYTE* const request = static_cast<const BYTE*>(information);
    switch (what) {
        case FileRenameInfo:
            return renameTo(*item, request, byteCount);
        case FileDispositionInfo:
            return dispose(item, request, byteCount);
    }
    return refuse(ERROR_INVALID_PARAMETER);
}
