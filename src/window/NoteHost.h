// What a note's window asks of the App that shows it. Declared here and defined in app/, so that the windows do not
// depend on everything that an App consists of. Main thread only.
#pragma once

#include <windows.h>

#include "common/WideText.h"

class App;
class NoteWindow;

// The window that takes the WM_APP_NOTE_... messages; null before it is made and after shutdown.
HWND messageWindowOf(const App& app);
// The folder of the images that notes name; empty when there is no notes folder.
WideString logoFolderOf(const App& app);
// See App::resolveOverlap.
RECT freePlaceFor(const App& app, const RECT& wanted, const NoteWindow* except);
// See App::saveUnsavedNotes.
void saveUnsavedNotes(App& app);
