// For three seconds after Vellumd has saved a note, it takes every change of that file for its own and does nothing: a
// new text stays unseen and is overwritten by the next save, a deleted note stays on the screen. What a command does to
// a note therefore waits until that time is over.
#pragma once

#include "ctl/NotesFolder.h"

namespace ctl {

// Waits until Vellumd's last save of the note, if it was the last to write the file, is old enough. Throws Failure when
// the user does not stop changing the note for half a minute.
void waitForOwnSave(const NotesFolder& folder, const WideString& id);

// How long Vellumd may still ignore a change after something that happened at `time`; 0 when it does not any more.
DWORD ignoredForMs(FileTime time);

}  // namespace ctl
