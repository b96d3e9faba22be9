#include "ctl/NotesFolder.h"

#include <algorithm>

#include "applet/StoreFiles.h"
#include "common/Handles.h"
#include "common/Paths.h"
#include "common/WriteAll.h"
#include "ctl/Failure.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr const WCHAR* kExtension = TEXT(".json");
constexpr const WCHAR* kDraft = TEXT(".vellumctl");  // Vellumd looks at .json files only
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool isMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

FileTime ticksOf(const FILETIME& time) {
    return FileTime{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// Calls `attempt`, which returns a Windows error number, again while another program has the file open. A rename over
// an open file fails with ERROR_ACCESS_DENIED.
template <typename Attempt>
DWORD tryAgain(Attempt attempt) {
    constexpr int kTries = 100;
    constexpr DWORD kPauseMs = 20;
    for (int tries = 1;; ++tries) {
        const DWORD error = attempt();
        const bool isInUse = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED ||
                             error == ERROR_LOCK_VIOLATION || error == ERROR_USER_MAPPED_FILE;
        if (!isInUse || tries == kTries) return error;
        Sleep(kPauseMs);
    }
}

DWORD readAll(HANDLE file, NoteFile& out) {
    constexpr LONGLONG kLargestFile = 67108864;  // Vellumd reads no larger ones
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!GetFileInformationByHandle(file, &information)) return GetLastError();
    out.writtenAt = ticksOf(information.ftLastWriteTime);
    if (information.nFileSizeHigh != 0 || information.nFileSizeLow > kLargestFile) return ERROR_FILE_TOO_LARGE;
    out.bytes.resize(information.nFileSizeLow);
    std::size_t done = 0;
    for (DWORD count = 1; done < out.bytes.size() && count != 0; done += count)
        if (!ReadFile(file, out.bytes.data() + done, static_cast<DWORD>(out.bytes.size() - done), &count, nullptr))
            return GetLastError();
    out.bytes.resize(done);
    return ERROR_SUCCESS;
}

DWORD readOnce(const WideString& path, bool refusesLinks, NoteFile& out) {
    DWORD error = ERROR_SUCCESS;
    if (!refusesLinks) {
        const FileHandle file(
            CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return file ? readAll(file.get(), out) : GetLastError();
    }
    const AppletNotes::OwnedHandle file = AppletNotes::openExistingFile(path, GENERIC_READ, kShareAll, error);
    if (!file || !AppletNotes::verifyHandle(file.get(), false, nullptr, error)) return error;
    return readAll(file.get(), out);
}

// A new file, never the target of a link that somebody has put in its place.
DWORD writeDraft(const WideString& path, std::string_view bytes) {
    DeleteFileW(path.c_str());  // what a killed process has left
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file || !writeAll(file.get(), bytes)) return GetLastError();
    return FlushFileBuffers(file.get()) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

FileTime timeNow() {
    SYSTEMTIME system;
    FILETIME time = {};
    GetSystemTime(&system);
    SystemTimeToFileTime(&system, &time);
    return ticksOf(time);
}

WideString NotesFolder::pathOf(WideView id) const {
    return joinPath(path_, WideString(id) + kExtension);
}

std::optional<NoteFile> NotesFolder::read(const WideString& id) const {
    const WideString path = pathOf(id);
    NoteFile file;
    const DWORD error = tryAgain([&] { return readOnce(path, !held_.empty(), file); });
    if (isMissing(error)) return std::nullopt;
    if (error != ERROR_SUCCESS) throw systemFailure("cannot read " + wideToUtf8(path), error);
    return file;
}

std::optional<FileTime> NotesFolder::writtenAt(const WideString& id) const {
    const WideString path = pathOf(id);
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(path.c_str(), &entry));
    if (search) return ticksOf(entry.ftLastWriteTime);
    const DWORD error = GetLastError();
    if (!isMissing(error)) throw systemFailure("cannot look at " + wideToUtf8(path), error);
    return std::nullopt;
}

void NotesFolder::write(const WideString& id, std::string_view bytes) const {
    const WideString path = pathOf(id), draft = joinPath(path_, id + kDraft);
    DWORD error = tryAgain([&] { return writeDraft(draft, bytes); });
    if (error == ERROR_SUCCESS)
        error = tryAgain([&] {
            const DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
            return MoveFileExW(draft.c_str(), path.c_str(), how) ? ERROR_SUCCESS : GetLastError();
        });
    if (error == ERROR_SUCCESS) return;
    DeleteFileW(draft.c_str());
    throw systemFailure("cannot write " + wideToUtf8(path), error);
}

bool NotesFolder::remove(const WideString& id) const {
    const WideString path = pathOf(id);
    const DWORD error = tryAgain([&] { return DeleteFileW(path.c_str()) ? ERROR_SUCCESS : GetLastError(); });
    if (error != ERROR_SUCCESS && !isMissing(error)) throw systemFailure("cannot delete " + wideToUtf8(path), error);
    return error == ERROR_SUCCESS;
}

// Calls `use` with the name and the time of each note file.
template <typename Use>
void NotesFolder::forEachFile(Use use) const {
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(joinPath(path_, TEXT("*.json")).c_str(), &entry));
    DWORD error = search ? ERROR_SUCCESS : GetLastError();
    while (error == ERROR_SUCCESS) {
        const bool isFile = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
        if (isFile && lowerExtension(entry.cFileName) == TEXT("json"))
            use(WideString(entry.cFileName), ticksOf(entry.ftLastWriteTime));
        error = FindNextFileW(search.get(), &entry) ? ERROR_SUCCESS : GetLastError();
    }
    if (error != ERROR_NO_MORE_FILES && !isMissing(error))
        throw systemFailure("cannot list " + wideToUtf8(path_), error);
}

std::vector<WideString> NotesFolder::ids() const {
    std::vector<WideString> ids;
    forEachFile([&](const WideString& name, FileTime) {
        ids.push_back(name.substr(0, name.size() - WideView(kExtension).size()));
    });
    std::sort(ids.begin(), ids.end());
    return ids;
}

FileTime NotesFolder::lastRemovalAt() const {
    constexpr FileTime kBetweenWriteAndRename = 250 * kTicksOfMs;
    BY_HANDLE_FILE_INFORMATION information = {};
    const FileHandle folder(CreateFileW(path_.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (isNew_ || !folder || !GetFileInformationByHandle(folder.get(), &information)) return 0;
    const FileTime changedAt = ticksOf(information.ftLastWriteTime);
    FileTime lastArrival = 0;
    forEachFile([&](const WideString&, FileTime writtenAt) { lastArrival = std::max(lastArrival, writtenAt); });
    return changedAt <= lastArrival + kBetweenWriteAndRename ? 0 : changedAt;
}

}  // namespace ctl
