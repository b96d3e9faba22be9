#pragma once

#include <windows.h>

// Moves the real mouse, in screen pixels.
void moveMouse(LONG x, LONG y);
