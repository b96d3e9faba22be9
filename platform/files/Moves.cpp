// Renames, replaces and deletes files. Called by the product on any thread, and by FileInformation.cpp for requests
// through a handle. Locks keep others from opening a file while its name changes.
#include "files/Moves.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <climits>
#include <filesystem>

#include "core/Error.h"
#include "core/Gate.h"
#include "files/FileLocks.h"
#include "files/FileObject.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

// Whether any file or folder below this one is open.
bool isOpenBelow(const std::string& folder) {
    std::error_code ended;
    for (fs::recursive_directory_iterator entry(folder, ended), end; entry != end; entry.increment(ended)) {
        if (entry->is_symlink(ended) || (!entry->is_regular_file(ended) && !entry->is_directory(ended))) continue;
        const Descriptor below(open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (below.get() >= 0 && isOpenElsewhere(below.get())) return true;
    }
    return false;
}

// A file or folder that is about to lose its name. From lock() until destruction nobody can open it.
class DoomedName {
  public:
    // False, with the last error set, if the path does not exist.
    bool open(const std::string& native) {
        path_ = native;
        if (lstat(native.c_str(), &status_) != 0) return setFileError(errno, native);
        if (S_ISLNK(status_.st_mode)) return true;
        descriptor_ = Descriptor(::open(native.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
        return descriptor_.get() >= 0 || refuse(ERROR_ACCESS_DENIED);
    }
    void lock() const {
        if (descriptor_.get() >= 0) lockOpening(descriptor_.get());
    }
    // False, with the last error set, if someone has it open without FILE_SHARE_DELETE.
    bool mayGo() const {
        constexpr unsigned kAll = kReadRight | kWriteRight | kDeleteRight;
        if (descriptor_.get() < 0 || !rightsConflict(descriptor_.get(), kDeleteRight, kAll)) return true;
        return refuse(ERROR_SHARING_VIOLATION);
    }
    bool isFolder() const { return S_ISDIR(status_.st_mode); }
    // A folder cannot be moved while anything below it is open.
    bool isHeldFromBelow() const { return isFolder() && isOpenBelow(path_); }
    bool isOpenAnywhere() const { return descriptor_.get() >= 0 && isOpenElsewhere(descriptor_.get()); }
    bool isReadOnly() const { return S_ISREG(status_.st_mode) && (status_.st_mode & 0222) == 0; }
    ino_t number() const { return status_.st_ino; }

  private:
    std::string path_;
    Descriptor descriptor_{-1};
    struct stat status_ = {};
};

bool exists(const std::string& native) {
    struct stat status;
    return lstat(native.c_str(), &status) == 0;
}

// `isMine`: the caller itself has the source open with DELETE.
bool move(const std::string& source, const std::string& target, bool replaces, bool isMine) {
    DoomedName moved, replaced;
    if (!moved.open(source)) return false;
    const bool isTaken = exists(target) && source != target;
    if (isTaken && !replaces) return refuse(ERROR_ALREADY_EXISTS);
    if (isTaken && !replaced.open(target)) return refuse(ERROR_ACCESS_DENIED);
    if (isTaken && (moved.isFolder() || replaced.isFolder())) return refuse(ERROR_ACCESS_DENIED);
    // Everyone locks in the same order, so that two opposite moves cannot deadlock.
    const bool movedFirst = moved.number() < replaced.number();
    (movedFirst ? moved : replaced).lock();
    if (moved.number() != replaced.number()) (movedFirst ? replaced : moved).lock();
    if (!isMine && !moved.mayGo()) return false;
    // An open file cannot be replaced, whatever share mode it has.
    if (replaced.isReadOnly() || replaced.isOpenAnywhere() || moved.isHeldFromBelow())
        return refuse(ERROR_ACCESS_DENIED);
    if (rename(source.c_str(), target.c_str()) == 0) return true;
    return setFileError(errno, target);
}

// Makes sure that the changed name is on disk.
void flushFolderOf(const std::string& native) {
    const Descriptor folder(open(native.substr(0, native.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() >= 0) fsync(folder.get());
}

}  // namespace

std::string nativePathOf(int descriptor) {
    char path[PATH_MAX];
    struct stat opened, named;
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof path);
    const std::string native(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    const bool isNamed = fstat(descriptor, &opened) == 0 && lstat(native.c_str(), &named) == 0 &&
                         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    return isNamed ? native : std::string();
}

FileObject::~FileObject() {
    if (!exclusiveName.empty()) noteExclusiveOpening('-', exclusiveName);
    if (!isDoomed) return;
    lockOpening(descriptor.get());  // keeps others from moving or replacing the file
    const std::string native = nativePathOf(descriptor.get());
    if (!native.empty()) unlink(native.c_str());
}

bool removeFile(const std::string& native) {
    DoomedName file;
    if (!file.open(native)) return false;
    if (file.isFolder() || file.isReadOnly()) return refuse(ERROR_ACCESS_DENIED);
    file.lock();
    if (!file.mayGo()) return false;
    if (unlink(native.c_str()) == 0) return true;
    return setFileError(errno, native);
}

bool moveItem(const std::string& source, const std::string& target, bool replaces) {
    return move(source, target, replaces, false);
}

bool renameItem(const OpenItem& item, const std::string& target, bool replaces) {
    const std::string source = nativePathOf(item.descriptor.get());
    if (source.empty()) return refuse(ERROR_FILE_NOT_FOUND);
    return move(source, target, replaces, true);
}

}  // namespace platform

using namespace platform;

BOOL DeleteFileW(LPCWSTR path) {
    static constinit CallSite site{__func__};
    std::string native;
    return !site.fails() && nativePath(path, native) && removeFile(native);
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
    static constinit CallSite site{__func__}, throughSite{"MoveFileExW: write through"};
    std::string source, target;
    if (site.fails() || !nativePath(from, source) || !nativePath(to, target)) return FALSE;
    if (!moveItem(source, target, (flags & MOVEFILE_REPLACE_EXISTING) != 0)) return FALSE;
    if ((flags & MOVEFILE_WRITE_THROUGH) != 0) {
        throughSite.pass();
        flushFolderOf(target);
    }
    return TRUE;
}
