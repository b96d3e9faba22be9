// Places in the file system, and the making of folders.
#pragma once

#include "common/WideText.h"

// Full path of this process's image; empty on failure. A path of 1040 units or more arrives cut.
WideString executablePath();

// The folder of the notes where no option names another: Quorvane\Ombrel\Notes below the user's local application
// data. Empty when the system cannot tell that folder. Makes nothing.
WideString defaultNotesFolder();

// Whether a folder has this path; false for a file, and for nothing.
bool isFolder(const WideString& path);

// Makes the folder and every missing one above it, with default security. True when the folder exists on return,
// also when another process made it meanwhile; false for an empty path, a file in the way, or a folder that cannot
// be made; GetLastError has the reason only in the last case.
bool createDirectoryTree(WideView path);
