// The desktop that this process shows its windows on, in a test's hands: mouse and keyboard, the end of the session, a
// look at the windows. Its monitors are set with windows/Monitors.h.
#pragma once

#include <windef.h>

#include <functional>
#include <string>
#include <string_view>

#include "controls/Libraries.h"
#include "windows/Monitors.h"

namespace platform {

namespace desktop {

// Dispatches what the calling thread's queue holds, until it is empty. Says whether the quit mark was met.
bool pump();

// The mouse, in pixels of the virtual screen, and the keyboard of whatever window has it. They act as the user's would:
// on the window under the point, as it says by its hit test; a press activates it and gives the keyboard to a control;
// a press on a caption or an edge begins to move or size the window, which the release ends. To be called on the thread
// of the windows; each call has had all its effects when it returns.
void moveMouse(POINT point);
void pressMouse();
void releaseMouse();
void click(POINT point);
void doubleClick(POINT point);
// `halfway` runs in the middle of the way, inside the window's own loop where there is one.
void drag(POINT from, POINT to, const std::function<void()>& halfway = {});
void typeText(std::u16string_view text);
// The cursor that the last move of the mouse has set, by its number; null for the window's own.
HCURSOR shownCursor();

// Asks every top-level window whether the user's session may end and tells them the answer. `reason` is the lParam of
// both messages.
void endSession(LPARAM reason = 0);
// What an installer does to a program whose files it wants to replace: the end of a session, and WM_CLOSE behind it.
void closeForInstaller();

// The desktop as an SVG picture.
std::string picture();

// Which window is active in this thread; null when none is.
HWND activeWindow();

// The window tree of the process as text, the uppermost window first: one line each, "class" rectangle flags text.
std::string describeWindows();

// Such as "0,0-260,260".
std::string describeRect(const RECT& rect);
// What the window has painted last, a line for each operation: kind, rectangle, ARGB, and the pen's width or the text's
// format, font and words.
std::string describePainting(HWND window);
// The text controls of the window, a line each: class, place in the window, font, margins, the colours that the window
// answers when they ask; then, of rich text, the control's own: of new text, of its first character, its background.
std::string describeControls(HWND window);

}  // namespace desktop
}  // namespace platform
