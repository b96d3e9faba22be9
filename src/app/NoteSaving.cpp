// The way back from an open note to its file: one message, one write. All delay is in the note window.
#include "app/App.h"
#include "common/Identity.h"
#include "common/Logger.h"
#include "common/Monitors.h"
#include "notes/FileIo.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("App");

}  // namespace

// Writes the record as the window left it. Nobody tries again after a failure: the edit stays in the window's record
// and goes out with the next save.
bool App::saveNote(NoteWindow* window) {
    if (window == nullptr) return false;
    const NoteRecord& note = window->note();
    if (note.id.empty()) return false;
    const WideString path = notePath(note.id);
    ownWrites_.set(path, GetTickCount64());  // before the write, so that no notice of it comes too early
    WideString error;
    if (saveNoteFile(path, note, &error)) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Saved note id=%ls"), note.id.c_str());
        return true;
    }
    ownWrites_.erase(path);  // the next change from outside counts
    logWrite(LogLevel::Error, kComponent, TEXT("saveNote failed: id=%ls path=%ls (%ls)"), note.id.c_str(), path.c_str(),
             error.c_str());
    return false;
}

void App::createNewNote() {
    NoteRecord record = newNoteRecord(currentUserName());
    const MonitorInfo monitor = primaryMonitor();
    record.monitorDevice = monitor.device;
    record.monitorBounds = monitor.bounds;
    const WideString id = record.id;
    auto window = std::make_unique<NoteWindow>(this, std::move(record));
    if (!window->create()) {
        logWrite(LogLevel::Error, kComponent, TEXT("New-note create failed for id=%ls"), id.c_str());
        return;
    }
    NoteWindow* const added = window.get();
    insertNote(std::move(window));
    logWrite(LogLevel::Info, kComponent, TEXT("New note created: id=%ls"), id.c_str());
    saveNote(added);  // so that its file exists from the first moment
}

// The window goes first: a file that cannot be deleted comes back with the next scan or notice.
void App::dismissNote(const WideString& id) {
    if (notes_.find(id) == nullptr) return;
    const WideString path = notePath(id);
    eraseNote(id);
    if (deleteFile(path)) {
        logWrite(LogLevel::Info, kComponent, TEXT("Note dismissed by user: id=%ls"), id.c_str());
        return;
    }
    const DWORD err = GetLastError();
    logWrite(LogLevel::Warn, kComponent, TEXT("deleteFile failed for %ls (err=%lu)"), path.c_str(), err);
}
