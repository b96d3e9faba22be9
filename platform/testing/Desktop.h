// Controls the desktop of this process for tests: mouse and keyboard input, the end of the session, and a view of the
// windows. windows/Monitors.h sets the monitors.
#pragma once

#include <windef.h>

#include <functional>
#include <string>
#include <string_view>

#include "controls/Libraries.h"
#include "windows/Monitors.h"

namespace platform {

namespace desktop {

// Dispatches the messages of the calling thread until its queue is empty. Returns whether it met WM_QUIT.
bool pump();

// Mouse input in pixels of the virtual screen, and keyboard input to the window with the focus. The effects match real
// input: the hit test of the window under the pointer decides; a press activates the window and focuses a control; a
// press on a caption or an edge starts to move or size the window until the release. Call these on the thread of the
// windows. All effects have happened when a call returns.
void moveMouse(POINT point);
void pressMouse();
void releaseMouse();
void click(POINT point);
void doubleClick(POINT point);
// `halfway` runs in the middle of the drag, inside the window's move loop if it has one.
void drag(POINT from, POINT to, const std::function<void()>& halfway = {});
void typeText(std::u16string_view text);
// The cursor that the last mouse move set, by its resource number; null if the window set none.
HCURSOR shownCursor();

// Sends WM_QUERYENDSESSION to every top-level window, then WM_ENDSESSION with the result. `reason` is the lParam of
// both.
void endSession(LPARAM reason = 0);
// Does what an installer does to a program whose files it replaces: ends the session, then posts WM_CLOSE.
void closeForInstaller();

// The desktop as an SVG picture.
std::string picture();

// The active window of this thread; null if there is none.
HWND activeWindow();

// The window tree of the process as text, topmost window first. Each line is: "class" rectangle flags text.
std::string describeWindows();

// Text like "0,0-260,260".
std::string describeRect(const RECT& rect);
// The last painting of the window, one line for each operation: kind, rectangle, ARGB, and the pen width or the text's
// format, font and words.
std::string describePainting(HWND window);
// The text controls of the window, one line each: class, position in the window, font, margins, and the colours that
// the parent returns for it. For rich text also the control's own colours: for new text, for its first character, and
// its background.
std::string describeControls(HWND window);

}  // namespace desktop
}  // namespace platform
