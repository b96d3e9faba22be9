// The private messages of the message window, and the text that some of them carry.
//
// A text crosses the queue as a buffer on the heap, zero-terminated, in lParam; wParam is 0. It belongs to the message
// once PostMessageW has taken it, and to the handler from then on.
#pragma once

#include <memory>

#include "common/WideText.h"

// From the folder watcher, on its own thread; the text is a full path.
constexpr UINT WM_APP_FILE_ADDED = WM_APP + 0x101;
constexpr UINT WM_APP_FILE_REMOVED = WM_APP + 0x102;
// From the note windows; the text is the note's id.
constexpr UINT WM_APP_NOTE_DISMISS = WM_APP + 0x201;
constexpr UINT WM_APP_NOTE_MOVED = WM_APP + 0x202;
constexpr UINT WM_APP_NOTE_CHANGED = WM_APP + 0x203;
// From the note windows, without a text.
constexpr UINT WM_APP_NOTE_NEW = WM_APP + 0x204;

using OwnedText = std::unique_ptr<WCHAR[]>;

// False, with nothing left behind, when the message cannot be posted. May be called on any thread.
bool postText(HWND window, UINT message, WideView text);

// Takes the text over from a message; null when it carries none.
OwnedText takeText(LPARAM lParam);
