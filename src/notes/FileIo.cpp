// Whole-file reads, atomic writes and deletion of note files. The App and the note windows call it on the main thread.
#include "notes/FileIo.h"

#include <algorithm>

#include "common/Handles.h"
#include "common/WriteAll.h"

namespace {

constexpr LONGLONG kLargestFile = 67108864;
constexpr std::size_t kWriteBytes = 65536;

// Fills `bytes`; shortens it if the file has become shorter.
bool readAll(HANDLE file, std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        DWORD count = 0;
        if (!ReadFile(file, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &count, nullptr))
            return false;
        if (count == 0) break;  // the file has become shorter
        done += count;
    }
    bytes.resize(done);
    return true;
}

// Deletes the temporary file after a failure. Returns false and keeps the last error of that failure.
bool discard(const WideString& path) {
    const DWORD reason = GetLastError();
    DeleteFileW(path.c_str());
    SetLastError(reason);
    return false;
}

}  // namespace

bool readFileBytes(const WideString& path, std::string& bytes) {
    bytes.clear();
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size;
    if (!file || !GetFileSizeEx(file.get(), &size)) return false;
    if (size.QuadPart > kLargestFile) {
        SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    bytes.resize(static_cast<std::size_t>(size.QuadPart));
    if (readAll(file.get(), bytes)) return true;
    bytes.clear();
    return false;
}

bool writeFileAtomic(const WideString& path, std::string_view bytes) {
    const WideString temporary = path + TEXT(".tmp");
    FileHandle file(
        CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return false;
    if (!writeAll(file.get(), bytes, kWriteBytes)) {
        file.reset();
        return discard(temporary);
    }
    FlushFileBuffers(file.get());  // a failed flush is ignored: the rename is atomic anyway
    file.reset();
    if (MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
    return discard(temporary);
}

bool deleteFile(const WideString& path) {
    if (DeleteFileW(path.c_str())) return true;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool fileExists(const WideString& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}
