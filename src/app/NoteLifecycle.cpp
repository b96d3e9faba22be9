// From files to open notes: the open notes follow the files of the folder. Everything here runs on the main thread, in
// the handler of a message.
#include <algorithm>
#include <vector>

#include "app/App.h"
#include "common/Logger.h"
#include "common/Monitors.h"
#include "common/Paths.h"
#include "window/Placement.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("App");
constexpr int kTries = 3;
constexpr DWORD kPauseMs = 15;              // time for a writer to finish
constexpr std::size_t kExtensionUnits = 5;  // ".json"

// The file name without its extension; empty for ".json".
WideString stemOf(const WideString& path) {
    const WideString name = leafName(path);
    const WideString extension = lowerExtension(name);
    return extension.empty() ? WideString() : name.substr(0, name.size() - extension.size() - 1);
}

// The note is saved under its id. An id that comes from the content only must not lead out of the folder.
bool hasUsableId(const WideString& path, const NoteRecord& record) {
    return !stemOf(path).empty() || isPlainStem(record.id);
}

// The file name decides the id. If the two differ in case only, the id in the file is kept.
void repairId(const WideString& path, NoteRecord& record) {
    WideString stem = stemOf(path);
    if (stem.empty() || equalsIgnoreCase(stem, record.id)) return;
    logWrite(LogLevel::Warn, kComponent,
             TEXT("Filename/id mismatch: file=%ls jsonId=%ls; using filename and rewriting on next save"),
             leafName(path).c_str(), record.id.c_str());
    record.id = std::move(stem);
}

}  // namespace

WideString App::notePath(WideView id) const {
    return joinPath(notesFolder_, WideString(id) + TEXT(".json"));
}

WideString App::logoFolder() const {
    return notesFolder_.empty() ? WideString() : joinPath(joinPath(notesFolder_, TEXT("Resources")), TEXT("logos"));
}

void App::scanFolder() {
    const WideString pattern = joinPath(notesFolder_, TEXT("*.json"));
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(pattern.c_str(), &entry));
    if (!search) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Initial scan: folder empty or unreadable (err=%lu)"),
                 GetLastError());
        return;
    }
    int files = 0;
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
        loadNote(joinPath(notesFolder_, entry.cFileName));
        ++files;
    } while (FindNextFileW(search.get(), &entry) != 0);
    logWrite(LogLevel::Debug, kComponent, TEXT("Initial scan: %d file(s)"), files);
}

void App::loadNote(const WideString& path) {
    NoteRecord record;
    WideString error;
    for (int tries = 1; !readNote(path, record, error); ++tries) {
        if (tries == kTries) {
            logWrite(LogLevel::Warn, kComponent, TEXT("Failed to load note after 3 retries: %ls (%ls)"), path.c_str(),
                     error.c_str());
            return;
        }
        Sleep(kPauseMs);
    }
    repairId(path, record);
    openNote(std::move(record));
}

bool App::readNote(const WideString& path, NoteRecord& record, WideString& error) const {
    if (!(lease_.active() ? readPrivateNote(path, record, error) : loadNoteFile(path, record, &error))) return false;
    if (hasUsableId(path, record)) return true;
    error = TEXT("invalid note structure");
    return false;
}

// A document without an id sets no error.
bool App::readPrivateNote(const WideString& path, NoteRecord& record, WideString& error) const {
    std::string bytes;
    DWORD err = ERROR_SUCCESS;
    if (!lease_.readNote(leafName(path), bytes, err)) {
        error = formatWideString(TEXT("private note read failed; Windows error %lu"), err);
        return false;
    }
    JsonValue json;
    return parseJsonUtf8(bytes, json, &error) && noteFromJson(std::move(json), record);
}

void App::openNote(NoteRecord record) {
    const WideString id = record.id;
    if (const NoteWindowPtr* open = notes_.find(id)) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Note already open, updating: id=%ls"), id.c_str());
        (*open)->applyNote(std::move(record));
        return;
    }
    auto window = std::make_unique<NoteWindow>(this, std::move(record));
    if (!window->create()) {
        logWrite(LogLevel::Error, kComponent, TEXT("NoteWindow::create failed for id=%ls"), id.c_str());
        return;
    }
    logWrite(LogLevel::Info, kComponent, TEXT("Note opened: id=%ls"), id.c_str());
    insertNote(std::move(window));
}

void App::onFileChanged(const WideString& path) {
    if (ownWrites_.isOwn(path, GetTickCount64())) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Ignoring own change notification: %ls"), path.c_str());
        return;
    }
    ownWrites_.forget(path);
    logWrite(LogLevel::Debug, kComponent, TEXT("File added: %ls"), path.c_str());
    loadNote(path);
}

// A save replaces the file by a rename, and the system reports that as a removal, too: so this also ignores own writes.
void App::onFileRemoved(const WideString& path) {
    if (ownWrites_.isOwn(path, GetTickCount64())) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Ignoring own remove notification: %ls"), path.c_str());
        return;
    }
    logWrite(LogLevel::Debug, kComponent, TEXT("File removed: %ls"), path.c_str());
    const WideString name = leafName(path);
    if (name.size() <= kExtensionUnits) return;
    const WideString id = name.substr(0, name.size() - kExtensionUnits);
    if (notes_.find(id) != nullptr) {
        eraseNote(id);
        logWrite(LogLevel::Info, kComponent, TEXT("Note closed (file deleted externally): id=%ls"), id.c_str());
    }
    if (lease_.active()) cleanupStartup(TEXT("external-removal"));
}

// This may have been the last note in the store.
void App::cleanupStartup(const WCHAR* occasion) const {
    DWORD err = ERROR_SUCCESS;
    if (!lease_.cleanupStartup(err) && err != ERROR_SUCCESS)
        logWrite(LogLevel::Warn, kComponent, TEXT("Applet %ls startup cleanup deferred (err=%lu)"), occasion, err);
}

// Without a GUID the id is empty: the next such note replaces the first.
void App::insertNote(NoteWindowPtr window) {
    const WideString id = window->note().id;
    if (notes_.find(id) != nullptr) eraseNote(id);
    notes_.set(id, std::move(window));
}

// Closes first, so that the window posts no further message.
void App::eraseNote(const WideString& id) {
    (*notes_.find(id))->close();
    notes_.erase(id);
}

RECT App::resolveOverlap(const RECT& wanted, const NoteWindow* except) const {
    std::vector<RECT> taken;
    for (const auto& [id, note] : notes_) {
        RECT rect = {};
        if (note.get() != except && note->hwnd() != nullptr && GetWindowRect(note->hwnd(), &rect))
            taken.push_back(rect);
    }
    const auto isFree = [&](const RECT& place) {
        return std::none_of(taken.begin(), taken.end(), [&](const RECT& rect) { return intersect(rect, place); });
    };
    if (isFree(wanted)) return wanted;
    const HMONITOR monitor = MonitorFromRect(&wanted, MONITOR_DEFAULTTONEAREST);
    MONITORINFOEXW info = {};
    const RECT workArea = readMonitor(monitor, info) ? info.rcWork : primaryMonitor().workArea;
    return findFreePlace(wanted, workArea, monitorDpi(monitor), isFree);
}
