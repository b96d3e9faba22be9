#pragma once

#include <windows.h>

// The mouse itself, in pixels of the screen. There is one for all tests that run side by side: the first to touch it
// keeps it to the end of its process.
void moveMouse(LONG x, LONG y);
