// The functions of window/NoteHost.h: what a note window asks the App.
#include "window/NoteHost.h"

#include "app/App.h"

HWND messageWindowOf(const App& app) {
    return app.messageWindow();
}

WideString logoFolderOf(const App& app) {
    return app.logoFolder();
}

RECT freePlaceFor(const App& app, const RECT& wanted, const NoteWindow* except) {
    return app.resolveOverlap(wanted, except);
}

void saveUnsavedNotes(App& app) {
    app.saveUnsavedNotes();
}
