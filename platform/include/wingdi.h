// Drawing.
#pragma once

#include <windef.h>

#define LOGPIXELSX 88

int GetDeviceCaps(HDC context, int index);
