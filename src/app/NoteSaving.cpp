// From open notes to files: saving, creating and dismissing. Called by the message handlers, on the main thread.
// Nothing is delayed here: the pause after an edit is in NoteEdit.cpp.
#include "app/App.h"
#include "common/Identity.h"
#include "common/Logger.h"
#include "common/Monitors.h"
#include "notes/FileIo.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("App");

}  // namespace

// Writes the window's current record. A failed save is not retried: the change stays in the record and is written by
// the next save, or at the end of the session.
bool App::saveNote(NoteWindow* window) {
    if (window == nullptr) return false;
    const NoteRecord& note = window->note();
    if (note.id.empty()) return false;
    const WideString path = notePath(note.id);
    ownWrites_.mark(path, GetTickCount64());
    WideString error;
    const bool saved = writeNote(path, note, error);
    window->setSaved(saved);
    if (saved) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Saved note id=%ls"), note.id.c_str());
        return true;
    }
    ownWrites_.forget(path);  // so that the next change of the file is not ignored
    logWrite(LogLevel::Error, kComponent, TEXT("saveNote failed: id=%ls path=%ls (%ls)"), note.id.c_str(), path.c_str(),
             error.c_str());
    return false;
}

void App::saveUnsavedNotes() {
    for (auto& [id, window] : notes_)
        if (window->hasUnsavedChange()) saveNote(window.get());
}

bool App::writeNote(const WideString& path, const NoteRecord& note, WideString& error) const {
    if (!lease_.active()) return saveNoteFile(path, note, &error);
    DWORD err = ERROR_SUCCESS;
    if (lease_.updateNote(note.id + TEXT(".json"), serializeNote(note), err)) return true;
    error = formatWideString(TEXT("private note update failed; Windows error %lu"), err);
    return false;
}

void App::createNewNote() {
    if (lease_.active()) return;  // only the writer of a queue adds notes to it
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
    saveNote(added);  // the file exists as soon as the note
}

// A plain note: closes the window, then deletes the file. If the file cannot be deleted, the note comes back with the
// next scan or change report.
void App::dismissNote(const WideString& id) {
    if (notes_.find(id) == nullptr) return;
    if (lease_.active()) {
        dismissPrivateNote(id);
        return;
    }
    const WideString path = notePath(id);
    eraseNote(id);
    if (deleteFile(path)) {
        logWrite(LogLevel::Info, kComponent, TEXT("Note dismissed by user: id=%ls"), id.c_str());
        return;
    }
    const DWORD err = GetLastError();
    logWrite(LogLevel::Warn, kComponent, TEXT("deleteFile failed for %ls (err=%lu)"), path.c_str(), err);
}

// A private note: deletes the file, then closes the window. If the file cannot be deleted, the note stays open and a
// message box says so.
void App::dismissPrivateNote(const WideString& id) {
    DWORD err = ERROR_SUCCESS;
    if (lease_.removeNote(id + TEXT(".json"), err)) {
        eraseNote(id);
        cleanupStartup(TEXT("dismissal"));
        return;
    }
    logWrite(LogLevel::Error, kComponent, TEXT("Applet note dismissal failed; note kept open (err=%lu)"), err);
    const WideString text =
        formatWideString(TEXT("The note could not be dismissed and has been kept open.\nWindows error: %lu"), err);
    MessageBoxW((*notes_.find(id))->hwnd(), text.c_str(), TEXT("Ombrel Notes"), MB_ICONWARNING);
}
