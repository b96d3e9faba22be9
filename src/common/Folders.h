// Known paths, and creating folders.
#pragma once

#include "common/WideText.h"

// The full path of this process's image; empty on failure. A path of 1040 units or more is cut.
WideString executablePath();

// The default folder of the notes: Quorvane\Ombrel\Notes below FOLDERID_LocalAppData. Empty when the system does not
// know that folder. Creates nothing.
WideString defaultNotesFolder();

// Whether `path` exists and is a folder.
bool isFolder(const WideString& path);

// Creates the folder and its missing parents, with default security. True when the folder exists on return, also if
// another process created it meanwhile. False for an empty path, for a file in the way, and when a folder cannot be
// created; GetLastError has the reason in the last case only.
bool createDirectoryTree(WideView path);
