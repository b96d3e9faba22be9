// Creates and destroys windows, for the functions that need it. Other code needs only windows/Window.h.
#pragma once

#include <string_view>

#include "windows/Window.h"

namespace platform {

// Null if the class is not registered.
std::shared_ptr<const WindowClass> findClass(std::u16string_view name);
// False if a class with this name exists.
bool addClass(WindowClass kind);

// Creates a window of the calling thread and sends its first messages. Null if the window refused.
std::shared_ptr<Window> createWindow(std::shared_ptr<const WindowClass> kind, const CREATESTRUCTW& wanted);
void destroyWindow(const std::shared_ptr<Window>& window);
void showWindow(const std::shared_ptr<Window>& window);

// The first window of the class below `after` in z-order; with a null `after`, the topmost. Null if there is none.
HWND nextWindow(HWND after, bool messageOnly, std::u16string_view className);

}  // namespace platform
