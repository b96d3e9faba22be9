#include "common/Folders.h"

#include <shlobj.h>

#include "common/ComHandles.h"
#include "common/Paths.h"

WideString executablePath() {
    WCHAR buffer[1040];
    const DWORD length = GetModuleFileNameW(nullptr, buffer, 1040);
    return WideString(buffer, length);
}

WideString defaultNotesFolder() {
    CoTaskString localData;
    // The caller frees the block even after a failure.
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, localData.put());
    if (FAILED(result)) return WideString();
    return joinPath(joinPath(joinPath(localData.get(), TEXT("Quorvane")), TEXT("Ombrel")), TEXT("Notes"));
}

bool isFolder(const WideString& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool createDirectoryTree(WideView path) {
    if (path.empty()) return false;
    const WideString folder(path);
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;

    const WideString parent = parentPath(folder);
    if (!parent.empty() && parent != folder && !createDirectoryTree(parent)) return false;

    if (CreateDirectoryW(folder.c_str(), nullptr)) return true;
    if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
    return isFolder(folder);  // another process may have been faster
}
