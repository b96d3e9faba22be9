// The private messages of the message window, and the text that some of them carry.
//
// The text is a zero-terminated heap buffer in lParam; wParam is 0. If PostMessageW succeeds, the message owns the
// buffer, and its handler takes it over with takeText. If PostMessageW fails, postText frees the buffer.
#pragma once

#include <memory>

#include "common/WideText.h"

// Posted by the watcher thread; the text is a full path.
constexpr UINT WM_APP_FILE_ADDED = WM_APP + 0x101;
constexpr UINT WM_APP_FILE_REMOVED = WM_APP + 0x102;
// Posted by the note windows; the text is the note's id.
constexpr UINT WM_APP_NOTE_DISMISS = WM_APP + 0x201;
constexpr UINT WM_APP_NOTE_MOVED = WM_APP + 0x202;
constexpr UINT WM_APP_NOTE_CHANGED = WM_APP + 0x203;
// Posted by the note windows; no text.
constexpr UINT WM_APP_NOTE_NEW = WM_APP + 0x204;

using OwnedText = std::unique_ptr<WCHAR[]>;

// Posts `message` with a copy of `text`. False when the message cannot be posted. Any thread.
bool postText(HWND window, UINT message, WideView text);

// Takes ownership of a message's text; null when it has none.
OwnedText takeText(LPARAM lParam);
