// Opens, reads and writes files, and creates folders: CreateFileW and related functions. Called by the product on any
// thread. Share modes work across processes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <windows.h>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <thread>

#include "core/Error.h"
#include "core/Gate.h"
#include "files/Directory.h"
#include "files/FileLocks.h"
#include "files/FileObject.h"
#include "files/FileSecurity.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

bool isReadOnly(const struct stat& status) {
    return (status.st_mode & 0222) == 0;
}

constexpr unsigned kMostWaits = 1000;
constexpr DWORD kFileRights = 0x1FF;  // data and attribute rights

DWORD grantedAccess(DWORD wanted) {
    DWORD access = (wanted & (kFileRights | DELETE | READ_CONTROL)) | FILE_READ_ATTRIBUTES;
    if (wanted & GENERIC_READ) access |= FILE_READ_DATA | READ_CONTROL;
    if (wanted & GENERIC_WRITE) access |= FILE_WRITE_DATA | FILE_APPEND_DATA | READ_CONTROL;
    return access;
}

unsigned rightsOf(DWORD access) {
    return ((access & FILE_READ_DATA) ? kReadRight : 0) |
           ((access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) ? kWriteRight : 0) | ((access & DELETE) ? kDeleteRight : 0);
}

// The parameters of CreateFileW.
struct Opening {
    DWORD access;
    DWORD shareMode;
    DWORD disposition;
    DWORD flags;
    std::optional<NewSecurity> security;  // for a new file

    bool writes() const { return (access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0; }
    int linkFlag() const { return (flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0 ? O_NOFOLLOW : 0; }
};

// Returns -1, with the last error set, if the file cannot be created or cannot be given to its owner.
int makeFile(const std::string& native, int flags, const Opening& opening) {
    const mode_t mode = opening.security ? opening.security->mode & 0600 : inheritedMode(native, false);
    const int descriptor = open(native.c_str(), flags | O_CREAT | O_EXCL, mode);
    if (descriptor < 0) setFileError(errno, native);
    if (descriptor < 0 || !opening.security || applySecurity(descriptor, *opening.security)) return descriptor;
    unlink(native.c_str());
    close(descriptor);
    return -1;
}

// Creates the file if the disposition says so. Returns -1, with the last error set, if nothing can be opened.
int openDescriptor(const std::string& native, const Opening& opening, bool& made) {
    const bool appendsOnly = opening.writes() && (opening.access & FILE_WRITE_DATA) == 0;
    const int flags = (opening.writes() || opening.disposition == CREATE_ALWAYS ? O_RDWR : O_RDONLY) |
                      (appendsOnly ? O_APPEND : 0) | opening.linkFlag() | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const auto openExisting = [&] {
        const int descriptor = open(native.c_str(), flags);
        if (descriptor < 0) setFileError(errno, native);
        return descriptor;
    };
    made = false;
    if (opening.disposition != CREATE_NEW) {
        const int descriptor = openExisting();
        if (descriptor >= 0 || opening.disposition == OPEN_EXISTING || GetLastError() != ERROR_FILE_NOT_FOUND)
            return descriptor;
    }
    const int descriptor = makeFile(native, flags, opening);
    made = descriptor >= 0;
    if (made || GetLastError() != ERROR_ALREADY_EXISTS) return descriptor;
    if (opening.disposition != CREATE_NEW) return openExisting();  // another process created it first
    return refuse(ERROR_FILE_EXISTS, -1);
}

// Whether the path still names the opened file. It may have been deleted, moved or replaced meanwhile.
bool isStillNamed(const std::string& native, const struct stat& opened, const Opening& opening) {
    struct stat named;
    const int flags = opening.linkFlag() == 0 ? 0 : AT_SYMLINK_NOFOLLOW;
    return fstatat(AT_FDCWD, native.c_str(), &named, flags) == 0 && named.st_ino == opened.st_ino &&
           named.st_dev == opened.st_dev;
}

// CreateFileW for the native path of a file. Null with the last error set on failure.
std::shared_ptr<OpenItem> openFile(const std::string& native, const Opening& opening) {
    for (;;) {
        bool made = false;
        Descriptor descriptor(openDescriptor(native, opening, made));
        struct stat status;
        if (descriptor.get() < 0) return nullptr;
        if (fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
            (opening.writes() && !made && isReadOnly(status)))
            return refuse(ERROR_ACCESS_DENIED);
        bool taken = takeRights(descriptor.get(), rightsOf(opening.access), opening.shareMode);
        // The creator has priority: another process may have opened the new file before we took the rights. Wait until
        // it closes.
        for (unsigned tries = 0; made && !taken && tries < kMostWaits; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            taken = takeRights(descriptor.get(), rightsOf(opening.access), opening.shareMode);
        }
        if (!taken) return refuse(ERROR_SHARING_VIOLATION);
        if (!isStillNamed(native, status, opening)) continue;
        if (opening.disposition == CREATE_ALWAYS && ftruncate(descriptor.get(), 0) != 0)
            return setFileError(errno, native);
        SetLastError(!made && (opening.disposition == CREATE_ALWAYS || opening.disposition == OPEN_ALWAYS)
                         ? ERROR_ALREADY_EXISTS
                         : ERROR_SUCCESS);
        auto file = std::make_shared<FileObject>(std::move(descriptor), opening.access);
        if (opening.shareMode == 0) {
            file->exclusiveName = native.substr(native.rfind('/') + 1);
            noteExclusiveOpening('+', file->exclusiveName);
        }
        return file;
    }
}

std::shared_ptr<OpenItem> openFolder(const std::string& native, const Opening& opening) {
    for (;;) {
        Descriptor descriptor(open(native.c_str(), O_RDONLY | O_DIRECTORY | opening.linkFlag() | O_CLOEXEC));
        struct stat status;
        if (descriptor.get() < 0 || fstat(descriptor.get(), &status) != 0) return setFileError(errno, native);
        if (!takeRights(descriptor.get(), rightsOf(opening.access), opening.shareMode))
            return refuse(ERROR_SHARING_VIOLATION);
        if (!isStillNamed(native, status, opening)) continue;
        SetLastError(ERROR_SUCCESS);
        return std::make_shared<Directory>(std::move(descriptor), opening.access, native);
    }
}

std::shared_ptr<OpenItem> openLink(const std::string& native, const Opening& opening) {
    Descriptor descriptor(open(native.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (descriptor.get() < 0) return setFileError(errno, native);
    SetLastError(ERROR_SUCCESS);
    return std::make_shared<LinkObject>(std::move(descriptor), opening.access, native);
}

// Opens a link itself if the flags say so. Otherwise a link to a folder counts as a folder. Null with the last error
// set on failure.
std::shared_ptr<OpenItem> openItem(const std::string& native, const Opening& opening) {
    struct stat own = {}, target = {};
    const bool exists = lstat(native.c_str(), &own) == 0;
    const bool isFolder = exists && stat(native.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
    if (!exists || opening.disposition == CREATE_NEW) return openFile(native, opening);
    if (isFolder && (opening.flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) return refuse(ERROR_ACCESS_DENIED);
    if (S_ISLNK(own.st_mode) && opening.linkFlag() != 0) return openLink(native, opening);
    return isFolder ? openFolder(native, opening) : openFile(native, opening);
}

std::mutex exclusiveLock;
std::optional<std::string> exclusiveOpenings;  // recording starts with the first call of takeExclusiveOpenings

}  // namespace

void noteExclusiveOpening(char sign, const std::string& name) {
    std::lock_guard hold(exclusiveLock);
    if (!exclusiveOpenings) return;
    if (!exclusiveOpenings->empty()) *exclusiveOpenings += ' ';
    *exclusiveOpenings += sign + name;
}

std::string takeExclusiveOpenings() {
    std::lock_guard hold(exclusiveLock);
    std::string text = exclusiveOpenings.value_or("");
    exclusiveOpenings = "";
    return text;
}

std::shared_ptr<OpenItem> findItem(HANDLE handle, DWORD right) {
    auto item = find<OpenItem>(handle);
    if (item == nullptr || (item->access & right) == right) return item;
    return refuse(ERROR_ACCESS_DENIED);
}

}  // namespace platform

using namespace platform;

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flags, HANDLE) {
    static constinit CallSite site{__func__};
    std::string native;
    if (site.fails() || !nativePath(path, native)) return INVALID_HANDLE_VALUE;
    if (disposition < CREATE_NEW || disposition > OPEN_ALWAYS)
        return refuse(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    Opening opening{grantedAccess(access), shareMode, disposition, flags, {}};
    if (!readSecurity(security, native, false, opening.security)) return INVALID_HANDLE_VALUE;
    auto item = openItem(native, opening);
    return item == nullptr ? INVALID_HANDLE_VALUE : openHandle(std::move(item));
}

BOOL ReadFile(HANDLE handle, LPVOID bytes, DWORD byteCount, LPDWORD count, LPOVERLAPPED) {
    static constinit CallSite site{__func__};
    if (count != nullptr) *count = 0;
    DWORD wanted = byteCount;
    if (site.failsTransfer(wanted)) return FALSE;
    const auto file = find<FileObject>(handle);
    if (file == nullptr) return FALSE;
    if ((file->access & FILE_READ_DATA) == 0) return refuse(ERROR_ACCESS_DENIED);
    ssize_t moved = 0;
    do
        moved = read(file->descriptor.get(), bytes, wanted);
    while (moved < 0 && errno == EINTR);
    if (moved < 0) return setFileError(errno, "/");
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
    if ((file->access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == 0) return refuse(ERROR_ACCESS_DENIED);
    const char* from = static_cast<const char*>(bytes);
    for (DWORD done = 0; done < wanted;) {
        const ssize_t moved = write(file->descriptor.get(), from + done, wanted - done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) return setFileError(errno, "/");
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
    if ((file->access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) == 0) return refuse(ERROR_ACCESS_DENIED);
    if (fsync(file->descriptor.get()) == 0 || errno == EINVAL) return TRUE;
    return setFileError(errno, "/");
}

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES wanted) {
    static constinit CallSite site{__func__};
    std::string native;
    std::optional<NewSecurity> security;
    if (site.fails()) return FALSE;
    if (path != nullptr && std::char_traits<WCHAR>::length(path) >= MAX_PATH - 12)  // leaves room for an 8.3 file name
        return refuse(ERROR_FILENAME_EXCED_RANGE);
    if (!nativePath(path, native) || !readSecurity(wanted, native, true, security)) return FALSE;
    if (mkdir(native.c_str(), security ? security->mode & 0700 : inheritedMode(native, true)) != 0) {
        const int error = errno;
        setFileError(error, native);
        if (error == ENOENT) SetLastError(ERROR_PATH_NOT_FOUND);  // mkdir gives ENOENT only if the parent is missing
        return FALSE;
    }
    if (!security) return TRUE;
    chmod(native.c_str(), 0700);  // the umask may have removed the owner's read right, which open() needs
    const Descriptor made(open(native.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (made.get() >= 0 && applySecurity(made.get(), *security)) return TRUE;
    rmdir(native.c_str());
    return FALSE;
}
