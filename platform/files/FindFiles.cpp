// Lists a folder by a pattern with "*". As on NTFS, names are sorted as if they were upper case.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/HandleTable.h"
#include "core/Ordinal.h"
#include "files/FileTimes.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

struct Entry {
    std::u16string name;
    DWORD attributes = FILE_ATTRIBUTE_ARCHIVE;
    ULONGLONG size = 0;  // 0 for folders
    FILETIME writtenAt = {};
};

struct Search : Object {
    std::vector<Entry> entries;
    std::size_t next = 0;
};

bool matches(std::u16string_view pattern, std::u16string_view name) {
    if (pattern.empty()) return name.empty();
    if (pattern.front() == u'*')
        return matches(pattern.substr(1), name) || (!name.empty() && matches(pattern, name.substr(1)));
    return !name.empty() && foldOrdinal(pattern.front()) == foldOrdinal(name.front()) &&
           matches(pattern.substr(1), name.substr(1));
}

// A file that was deleted meanwhile is listed as an empty file.
Entry entryOf(int folder, const char* name) {
    Entry entry;
    entry.name = toWide(name);
    struct stat own, target;
    if (fstatat(folder, name, &own, AT_SYMLINK_NOFOLLOW) != 0) return entry;
    entry.writtenAt = fileTimeOf(own.st_mtim);
    const bool isLink = S_ISLNK(own.st_mode);
    if (!isLink || fstatat(folder, name, &target, 0) != 0) target = own;
    if (S_ISDIR(target.st_mode)) entry.attributes = FILE_ATTRIBUTE_DIRECTORY;
    if (isLink) entry.attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (S_ISREG(own.st_mode)) entry.size = static_cast<ULONGLONG>(own.st_size);
    if (S_ISREG(target.st_mode) && (target.st_mode & 0222) == 0) entry.attributes |= FILE_ATTRIBUTE_READONLY;
    return entry;
}

void fill(WIN32_FIND_DATAW& data, const Entry& entry) {
    data = {};
    data.dwFileAttributes = entry.attributes;
    data.ftLastWriteTime = entry.writtenAt;
    data.nFileSizeHigh = static_cast<DWORD>(entry.size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(entry.size);
    const std::size_t units = std::min<std::size_t>(entry.name.size(), MAX_PATH - 1);
    std::memcpy(data.cFileName, entry.name.data(), units * sizeof(WCHAR));
}

// "." and ".." come first. Names that differ only in case cannot exist together on NTFS, but get a fixed order too.
bool comesBefore(const Entry& left, const Entry& right) {
    const auto isDots = [](const Entry& entry) { return entry.name == u"." || entry.name == u".."; };
    if (isDots(left) != isDots(right)) return isDots(left);
    const int order = compareOrdinal(left.name, right.name, true);
    return order != 0 ? order < 0 : left.name < right.name;
}

// False, with the last error set, if the folder cannot be read.
bool list(const std::string& folder, std::u16string_view pattern, std::vector<Entry>& entries) {
    DIR* const stream = opendir(folder.c_str());
    if (stream == nullptr) {
        setFileError(errno, folder);
        if (errno == ENOENT || errno == ENOTDIR) return refuse(ERROR_PATH_NOT_FOUND);
    }
    while (const dirent* entry = readdir(stream))
        if (matches(pattern, toWide(entry->d_name))) entries.push_back(entryOf(dirfd(stream), entry->d_name));
    closedir(stream);
    std::sort(entries.begin(), entries.end(), comesBefore);
    return true;
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE FindFirstFileW(LPCWSTR path, WIN32_FIND_DATAW* data) {
    static constinit CallSite site{__func__};
    if (site.fails()) return INVALID_HANDLE_VALUE;
    const std::u16string text = path;
    const std::size_t split = text.find_last_of(u"\\/");
    const std::u16string folder = split == std::u16string::npos ? u"." : text.substr(0, split + 1);
    const std::u16string pattern = text.substr(split == std::u16string::npos ? 0 : split + 1);
    std::string native;
    if (!nativePath(folder.c_str(), native)) return INVALID_HANDLE_VALUE;
    const auto search = std::make_shared<Search>();
    if (!list(native, pattern, search->entries)) return INVALID_HANDLE_VALUE;
    if (search->entries.empty()) return refuse(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
    fill(*data, search->entries[search->next++]);
    return openHandle(search);
}

BOOL FindNextFileW(HANDLE handle, WIN32_FIND_DATAW* data) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto search = find<Search>(handle);
    if (search == nullptr) return FALSE;
    if (search->next == search->entries.size()) return refuse(ERROR_NO_MORE_FILES);
    fill(*data, search->entries[search->next++]);
    return TRUE;
}

BOOL FindClose(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) {
        closeHandle(handle);
        return FALSE;
    }
    return find<Search>(handle) != nullptr && closeHandle(handle);
}
