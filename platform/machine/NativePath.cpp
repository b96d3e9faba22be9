// Converts paths between Windows and Linux, and errno to Windows error codes. The file functions call it on any thread.
// Stateless.
#include "machine/NativePath.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <algorithm>
#include <fstream>
#include <utility>
#include <vector>

#include "core/Encoding.h"
#include "core/Ordinal.h"
#include "machine/Machine.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

bool isSeparator(WCHAR unit) {
    return unit == u'\\' || unit == u'/';
}

bool isForbidden(WCHAR unit) {
    return unit < 0x20 || std::u16string_view(u"<>:\"|?*").find(unit) != std::u16string_view::npos;
}

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// The entry of `folder` with this name, ignoring case; `name` itself if there is none.
std::string entryOf(const std::string& folder, const std::string& name) {
    if (exists(folder + "/" + name)) return name;
    std::string found = name;
    if (DIR* listing = opendir(folder.empty() ? "/" : folder.c_str())) {
        const std::u16string wanted = toWide(name);
        while (const dirent* entry = readdir(listing))
            if (equalsOrdinal(toWide(entry->d_name), wanted)) {
                found = entry->d_name;
                break;
            }
        closedir(listing);
    }
    return found;
}

// Adds one component of a Windows path. Resolves "." and "..", and drops trailing dots and spaces.
bool addPart(std::vector<std::string>& parts, std::u16string_view part) {
    if (part.empty() || part == u".") return true;
    if (part == u"..") {
        if (!parts.empty()) parts.pop_back();
        return true;
    }
    while (!part.empty() && (part.back() == u'.' || part.back() == u' '))
        part.remove_suffix(1);
    if (part.empty() || std::any_of(part.begin(), part.end(), isForbidden)) return false;
    parts.push_back(toUtf8(part));
    return true;
}

std::string assemble(const std::string& root, const std::vector<std::string>& parts) {
    std::string plain = root;
    for (const std::string& part : parts)
        plain += "/" + part;
    if (parts.empty() || exists(plain)) return plain.empty() ? "/" : plain;
    std::string resolved = root;
    for (const std::string& part : parts)
        resolved += "/" + entryOf(resolved, part);
    return resolved;
}

// Windows allows long paths if the program's manifest and the registry both do. The product's manifest does, so this
// reads the machine's registry.
bool allowsLongPaths() {
    std::ifstream value(machineFolder() / "registry/HKEY_LOCAL_MACHINE/SYSTEM/CurrentControlSet/Control/FileSystem" /
                        "LongPathsEnabled.REG_DWORD");
    std::string text;
    return value >> text && text == "01000000";
}

}  // namespace

bool nativePath(LPCWSTR path, std::string& native) {
    std::u16string_view rest = path == nullptr ? std::u16string_view() : std::u16string_view(path);
    if (rest.empty() || (rest.size() >= MAX_PATH && !allowsLongPaths())) return refuse(ERROR_PATH_NOT_FOUND);
    std::string root;
    std::vector<std::string> parts;
    if (rest.size() >= 2 && rest[1] == u':') {
        const WCHAR drive = foldOrdinal(rest[0]);
        if (drive != u'C' && drive != u'Z') return refuse(ERROR_PATH_NOT_FOUND);
        if (drive == u'C') root = (machineFolder() / "drive_c").string();
        rest.remove_prefix(2);
    } else if (!isSeparator(rest.front())) {
        for (const fs::path& part : fs::current_path().relative_path())
            parts.push_back(part.string());
    }
    while (!rest.empty()) {
        const auto end = std::find_if(rest.begin(), rest.end(), isSeparator);
        const std::size_t length = static_cast<std::size_t>(end - rest.begin());
        if (!addPart(parts, rest.substr(0, length))) return refuse(ERROR_INVALID_NAME);
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    native = assemble(root, parts);
    return true;
}

std::u16string windowsPath(const std::string& native) {
    const std::string drive = (machineFolder() / "drive_c").string();
    const bool onC =
        native.compare(0, drive.size(), drive) == 0 && (native.size() == drive.size() || native[drive.size()] == '/');
    std::u16string path = toWide(onC ? native.substr(drive.size()) : native);
    std::replace(path.begin(), path.end(), u'/', u'\\');
    return (onC ? u"C:" : u"Z:") + path;
}

fs::path onDrive(const fs::path& folder, std::string_view path) {
    std::string below(path.substr(std::min<std::size_t>(path.size(), 3)));
    std::replace(below.begin(), below.end(), '\\', '/');
    return folder / "drive_c" / below;
}

Refused setFileError(int error, const std::string& native) {
    static constexpr std::pair<int, DWORD> kErrors[] = {
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},
        {EEXIST, ERROR_ALREADY_EXISTS},
        {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
        {ENOSPC, ERROR_DISK_FULL},
        {EDQUOT, ERROR_DISK_FULL},
        {EROFS, ERROR_WRITE_PROTECT},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENAMETOOLONG, ERROR_INVALID_NAME},
        {ELOOP, ERROR_CANT_ACCESS_FILE},
        {EXDEV, ERROR_NOT_SAME_DEVICE},
        {EPIPE, ERROR_NO_DATA},
        {EIO, ERROR_IO_DEVICE},
    };
    if (error == ENOENT) {
        const std::size_t end = native.rfind('/');
        return refuse(end == 0 || exists(native.substr(0, end)) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
    }
    for (const auto& [number, meaning] : kErrors)
        if (number == error) return refuse(meaning);
    return refuse(ERROR_GEN_FAILURE);
}

}  // namespace platform
