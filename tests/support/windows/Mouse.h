#pragma once

#include <windows.h>

// The mouse itself, in pixels of the screen.
void moveMouse(LONG x, LONG y);
