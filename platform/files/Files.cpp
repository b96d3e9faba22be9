#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <windows.h>
#include <cerrno>
#include <cstdio>

#include "Gate.h"
#include "files/Directory.h"
#include "files/FileLocks.h"
#include "files/FileObject.h"
#include "files/NativePath.h"

namespace platform {
namespace {

bool isReadOnly(const struct stat& status) {
    return (status.st_mode & 0222) == 0;
}

DWORD grantedAccess(DWORD wanted) {
    DWORD access = wanted & (FILE_READ_DATA | FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE);
    if (wanted & GENERIC_READ) access |= FILE_READ_DATA;
    if (wanted & GENERIC_WRITE) access |= FILE_WRITE_DATA | FILE_APPEND_DATA;
    return access;
}

unsigned rightsOf(DWORD access) {
    return ((access & FILE_READ_DATA) ? kReadRight : 0) |
           ((access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) ? kWriteRight : 0) | ((access & DELETE) ? kDeleteRight : 0);
}

struct Opening {
    DWORD access;
    DWORD shareMode;
    DWORD disposition;
};

// Makes the file if the disposition asks for it. -1, with the last error set, when there is nothing to open.
int openDescriptor(const std::string& native, const Opening& opening, bool& made) {
    const bool writes = (opening.access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0;
    const bool appendsOnly = writes && (opening.access & FILE_WRITE_DATA) == 0;
    const int flags = (writes || opening.disposition == CREATE_ALWAYS ? O_RDWR : O_RDONLY) |
                      (appendsOnly ? O_APPEND : 0) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    made = false;
    int descriptor = -1;
    if (opening.disposition != CREATE_NEW) descriptor = open(native.c_str(), flags);
    if (descriptor < 0 && opening.disposition != OPEN_EXISTING &&
        (errno == ENOENT || opening.disposition == CREATE_NEW)) {
        descriptor = open(native.c_str(), flags | O_CREAT | O_EXCL, 0644);
        made = descriptor >= 0;
        if (descriptor < 0 && errno == EEXIST && opening.disposition != CREATE_NEW)
            descriptor = open(native.c_str(), flags);  // somebody was faster
    }
    if (descriptor < 0) {
        setFileError(errno, native);
        if (GetLastError() == ERROR_ALREADY_EXISTS) SetLastError(ERROR_FILE_EXISTS);
    }
    return descriptor;
}

// The whole of CreateFileW on a native path. Null with the last error set.
std::shared_ptr<FileObject> openFile(const std::string& native, const Opening& opening) {
    for (;;) {
        bool made = false;
        Descriptor descriptor(openDescriptor(native, opening, made));
        struct stat status;
        if (descriptor.get() < 0) return nullptr;
        const bool writes = (opening.access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0;
        if (fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) || (writes && isReadOnly(status))) {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        }
        if (!takeRights(descriptor.get(), rightsOf(opening.access), opening.shareMode)) {
            SetLastError(ERROR_SHARING_VIOLATION);
            return nullptr;
        }
        // Between opening and taking the rights somebody may have deleted or replaced it: then that name has to be
        // opened anew.
        struct stat named;
        if (stat(native.c_str(), &named) != 0 || named.st_ino != status.st_ino || named.st_dev != status.st_dev)
            continue;
        if (opening.disposition == CREATE_ALWAYS && ftruncate(descriptor.get(), 0) != 0) {
            setFileError(errno, native);
            return nullptr;
        }
        SetLastError(!made && (opening.disposition == CREATE_ALWAYS || opening.disposition == OPEN_ALWAYS)
                         ? ERROR_ALREADY_EXISTS
                         : ERROR_SUCCESS);
        return std::make_shared<FileObject>(std::move(descriptor), opening.access);
    }
}

// A file that is to lose its name. Nobody can open it from the first look at it to the end of this object.
class DoomedName {
  public:
    // False, with the last error set, when there is no such file.
    bool open(const std::string& native) {
        if (lstat(native.c_str(), &status_) != 0) {
            setFileError(errno, native);
            return false;
        }
        if (S_ISREG(status_.st_mode))
            descriptor_ = Descriptor(::open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!S_ISDIR(status_.st_mode) && (!S_ISREG(status_.st_mode) || descriptor_.get() >= 0)) return true;
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    void lock() const {
        if (descriptor_.get() >= 0) lockOpening(descriptor_.get());
    }
    // False, with the last error set, when somebody has it open who does not share its deletion.
    bool mayGo() const {
        constexpr unsigned kAll = kReadRight | kWriteRight | kDeleteRight;
        if (descriptor_.get() < 0 || !rightsConflict(descriptor_.get(), kDeleteRight, kAll)) return true;
        SetLastError(ERROR_SHARING_VIOLATION);
        return false;
    }
    bool isOpenAnywhere() const { return descriptor_.get() >= 0 && isOpenElsewhere(descriptor_.get()); }
    bool isReadOnly() const { return S_ISREG(status_.st_mode) && platform::isReadOnly(status_); }
    ino_t number() const { return status_.st_ino; }

  private:
    Descriptor descriptor_{-1};
    struct stat status_ = {};
};

bool exists(const std::string& native) {
    struct stat status;
    return lstat(native.c_str(), &status) == 0;
}

bool refuse(DWORD error) {
    SetLastError(error);
    return false;
}

bool removeFile(const std::string& native) {
    DoomedName file;
    if (!file.open(native)) return false;
    if (file.isReadOnly()) return refuse(ERROR_ACCESS_DENIED);
    file.lock();
    if (!file.mayGo()) return false;
    if (unlink(native.c_str()) == 0) return true;
    setFileError(errno, native);
    return false;
}

bool moveFile(const std::string& source, const std::string& target, DWORD flags) {
    DoomedName moved, replaced;
    if (!moved.open(source)) return false;
    const bool replaces = exists(target);
    if (replaces && (flags & MOVEFILE_REPLACE_EXISTING) == 0) return refuse(ERROR_ALREADY_EXISTS);
    if (replaces && !replaced.open(target)) return refuse(ERROR_ACCESS_DENIED);
    // In one order for everybody, so that two who move across each other do not wait for each other.
    const bool movedFirst = moved.number() < replaced.number();
    (movedFirst ? moved : replaced).lock();
    if (moved.number() != replaced.number()) (movedFirst ? replaced : moved).lock();
    if (!moved.mayGo()) return false;
    // An open file cannot be replaced, whatever its opener shares.
    if (replaced.isReadOnly() || replaced.isOpenAnywhere()) return refuse(ERROR_ACCESS_DENIED);
    if (rename(source.c_str(), target.c_str()) == 0) return true;
    setFileError(errno, target);
    return false;
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD flags,
                   HANDLE) {
    static constinit CallSite site{__func__};
    std::string native;
    if (site.fails() || !nativePath(path, native)) return INVALID_HANDLE_VALUE;
    if (disposition < CREATE_NEW || disposition > OPEN_ALWAYS) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    struct stat status;
    if ((flags & FILE_FLAG_BACKUP_SEMANTICS) != 0 && stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        if (::access(native.c_str(), R_OK) == 0) return openHandle(std::make_shared<Directory>(native));
        setFileError(errno, native);
        return INVALID_HANDLE_VALUE;
    }
    auto file = openFile(native, {grantedAccess(access), shareMode, disposition});
    if (file == nullptr) return INVALID_HANDLE_VALUE;
    return openHandle(std::move(file));
}

BOOL ReadFile(HANDLE handle, LPVOID bytes, DWORD byteCount, LPDWORD count, LPOVERLAPPED) {
    static constinit CallSite site{__func__};
    if (count != nullptr) *count = 0;
    DWORD wanted = byteCount;
    if (site.failsTransfer(wanted)) return FALSE;
    const auto file = find<FileObject>(handle);
    if (file == nullptr) return FALSE;
    if ((file->access & FILE_READ_DATA) == 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    ssize_t moved = 0;
    do
        moved = read(file->descriptor.get(), bytes, wanted);
    while (moved < 0 && errno == EINTR);
    if (moved < 0) {
        setFileError(errno, "/");
        return FALSE;
    }
    if (count != nullptr) *count = static_cast<DWORD>(moved);
    return TRUE;
}

BOOL WriteFile(HANDLE handle, LPCVOID bytes, DWORD byteCount, LPDWORD written, LPOVERLAPPED) {
    static constinit CallSite site{__func__};
    if (written != nullptr) *written = 0;
    DWORD wanted = byteCount;
    if (site.failsTransfer(wanted)) return FALSE;
    const auto file = find<FileObject>(handle);
    if (file == nullptr) return FALSE;
    if ((file->access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    const char* from = static_cast<const char*>(bytes);
    for (DWORD done = 0; done < wanted;) {
        const ssize_t moved = write(file->descriptor.get(), from + done, wanted - done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) {
            setFileError(errno, "/");
            return FALSE;
        }
        done += static_cast<DWORD>(moved);
        if (written != nullptr) *written = done;
    }
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto file = find<FileObject>(handle);
    if (file == nullptr) return FALSE;
    if ((file->access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (fsync(file->descriptor.get()) == 0 || errno == EINVAL) return TRUE;
    setFileError(errno, "/");
    return FALSE;
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto file = find<FileObject>(handle);
    struct stat status;
    if (file == nullptr) return FALSE;
    if (fstat(file->descriptor.get(), &status) != 0) {
        setFileError(errno, "/");
        return FALSE;
    }
    size->QuadPart = status.st_size;
    return TRUE;
}

BOOL DeleteFileW(LPCWSTR path) {
    static constinit CallSite site{__func__};
    std::string native;
    return !site.fails() && nativePath(path, native) && removeFile(native);
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
    static constinit CallSite site{__func__};
    std::string source, target;
    return !site.fails() && nativePath(from, source) && nativePath(to, target) && moveFile(source, target, flags);
}

DWORD GetFileAttributesW(LPCWSTR path) {
    static constinit CallSite site{__func__};
    std::string native;
    if (site.fails() || !nativePath(path, native)) return INVALID_FILE_ATTRIBUTES;
    struct stat own, target;
    if (lstat(native.c_str(), &own) != 0) {
        setFileError(errno, native);
        return INVALID_FILE_ATTRIBUTES;
    }
    const bool isLink = S_ISLNK(own.st_mode);
    if (!isLink || stat(native.c_str(), &target) != 0) target = own;
    DWORD attributes = S_ISDIR(target.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
    if (isLink) attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (S_ISREG(target.st_mode) && isReadOnly(target)) attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes;
}

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    static constinit CallSite site{__func__};
    std::string native;
    if (site.fails()) return FALSE;
    if (path != nullptr && std::char_traits<WCHAR>::length(path) >= MAX_PATH - 12) {  // room for a short file name
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return FALSE;
    }
    if (!nativePath(path, native)) return FALSE;
    if (mkdir(native.c_str(), 0755) == 0) return TRUE;
    const int error = errno;
    setFileError(error, native);
    if (error == ENOENT) SetLastError(ERROR_PATH_NOT_FOUND);  // a missing parent is the only way to it
    return FALSE;
}
