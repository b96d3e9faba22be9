// What a note window asks the App. Declared here and defined in app/NoteHost.cpp, so that window/ does not include
// app/. Main thread only.
#pragma once

#include <windows.h>

#include "common/WideText.h"

class App;
class NoteWindow;

// The window to which WM_APP_NOTE_... messages are posted; null before it is created and after shutdown.
HWND messageWindowOf(const App& app);
// The folder of the logo images; empty when there is no notes folder.
WideString logoFolderOf(const App& app);
// See App::resolveOverlap.
RECT freePlaceFor(const App& app, const RECT& wanted, const NoteWindow* except);
// See App::saveUnsavedNotes.
void saveUnsavedNotes(App& app);
