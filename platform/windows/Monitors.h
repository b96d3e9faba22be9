// Which monitor something is on, and its DPI.
#pragma once

#include "windows/Window.h"

namespace platform {

// Of the monitor nearest to the window; 96 without any monitor.
LONG dpiOfWindow(const Window& window);

// Of the primary monitor; 96 without any.
LONG dpiOfScreen();

}  // namespace platform
