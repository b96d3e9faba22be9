// The mouse: where it is, and what a move, a press and a release do to the windows. There is one for the desktop; it
// acts on the thread of the windows. testing/Desktop.h is the hand that holds it.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>

namespace platform {

struct Window;

// Lets the mouse move or size the window until the button is released; `zone` is the one that was pressed. The default
// procedure begins it, for a press on a caption or an edge. Of a whole drag it returns at the end, and the window may
// be gone by then.
void beginSizeMove(const std::shared_ptr<Window>& window, LRESULT zone);

namespace mouse {

void moveTo(POINT point);
// What a client area is told: WM_LBUTTONDOWN or WM_LBUTTONDBLCLK.
void press(UINT clientMessage);
void release();
// What the hand does inside beginSizeMove, once. Returns what was set before and has not run.
std::function<void()> whenGripped(std::function<void()> rest);

}  // namespace mouse
}  // namespace platform
