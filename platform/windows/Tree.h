// How windows come to life and end, for the calls that do it. windows/Window.h is what everybody else needs.
#pragma once

#include <string_view>

#include "windows/Window.h"

namespace platform {

// Null for a class that nobody has registered.
std::shared_ptr<const WindowClass> findClass(std::u16string_view name);
// False when there is a class of this name.
bool addClass(WindowClass kind);

// A window of the calling thread, with the messages that it gets first. Null when it refused.
std::shared_ptr<Window> createWindow(std::shared_ptr<const WindowClass> kind, const CREATESTRUCTW& wanted);
void destroyWindow(const std::shared_ptr<Window>& window);
void showWindow(const std::shared_ptr<Window>& window);

// The first window of the class below `after`, or from the uppermost on; null when there is none.
HWND nextWindow(HWND after, bool messageOnly, std::u16string_view className);

}  // namespace platform
