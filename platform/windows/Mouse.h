// The mouse: its position, and what moves, presses and releases do to windows. There is one for the desktop, used on
// the thread of the windows. testing/Desktop.h controls it.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>

namespace platform {

struct Window;

// Moves or sizes the window with the mouse until the button is released. `zone` is the hit-test code of the press. The
// default window procedure calls it for a press on a caption or an edge. During a whole drag it returns when the drag
// ends; the window may be destroyed by then.
void beginSizeMove(const std::shared_ptr<Window>& window, LRESULT zone);

namespace mouse {

void moveTo(POINT point);
// `clientMessage` is sent for a press in the client area: WM_LBUTTONDOWN or WM_LBUTTONDBLCLK.
void press(UINT clientMessage);
void release();
// Sets the code that runs once inside beginSizeMove. Returns the previous code if it has not run.
std::function<void()> whenGripped(std::function<void()> rest);

}  // namespace mouse
}  // namespace platform
